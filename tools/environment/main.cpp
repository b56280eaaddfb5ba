// What the installer cannot do by itself: edits the machine's variables, and looks for the maker's
// camera library. Exit code 0: done, or yes; 1: no; 2: failed; 3: wrong command line.
#include "CameraLibrary.h"
#include "FolderList.h"
#include "LibraryIdentity.h"
#include "MachineVariable.h"

#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

namespace {

using namespace environment;

enum ExitCode { kDone, kNo, kFailed, kWrongUsage };

constexpr const char* kUsage = "norveltl-environment add|remove VARIABLE FOLDER\n"
                               "norveltl-environment makers-library FOLDER\n"
                               "norveltl-environment is-simulated FILE\n";

ExitCode Add(const wchar_t* name, const wchar_t* folder) {
    CMachineVariable variable{name};
    std::wstring changed = folder;
    if (variable.Text()) {
        CFolderList list{*variable.Text()};
        list.Add(folder);
        changed = list.Text();
    }
    if (changed != variable.Text()) {
        variable.Set(changed);
        TellPrograms();
    }
    return kDone;
}

ExitCode Remove(const wchar_t* name, const wchar_t* folder) {
    CMachineVariable variable{name};
    if (!variable.Text()) {
        return kDone;
    }
    CFolderList list{*variable.Text()};
    list.Remove(folder);
    if (list.Text() != variable.Text()) {
        // Where nothing but the folder was, the variable was made for it.
        const bool isMadeForIt = list.Text().empty() && !variable.Text()->ends_with(L';');
        variable.Set(isMadeForIt ? std::nullopt : std::optional{list.Text()});
        TellPrograms();
    }
    return kDone;
}

ExitCode FindLibrary(const wchar_t* folder) {
    const auto library = FindMakersLibrary(folder);
    if (library) {
        std::printf("%ls\n", library->c_str());
    }
    return library ? kDone : kNo;
}

ExitCode Run(int count, wchar_t** words) {
    const std::wstring_view command = count > 1 ? words[1] : L"";
    if (command == L"add" && count == 4) {
        return Add(words[2], words[3]);
    }
    if (command == L"remove" && count == 4) {
        return Remove(words[2], words[3]);
    }
    if (command == L"makers-library" && count == 3) {
        return FindLibrary(words[2]);
    }
    if (command == L"is-simulated" && count == 3) {
        return library::Identify(words[2]).isSimulated ? kDone : kNo;
    }
    std::fputs(kUsage, stderr);
    return kWrongUsage;
}

} // namespace

int wmain(int count, wchar_t** words) {
    try {
        return Run(count, words);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "norveltl-environment: %s\n", error.what());
        return kFailed;
    }
}
