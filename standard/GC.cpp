// The library itself.
#include "Closing.h"
#include "First.h"
#include "Info.h"

#include <algorithm>

using namespace Standard;

namespace {

std::string FileNameOf(const std::string& path) {
    return path.substr(path.find_last_of("/\\") + 1);
}

} // namespace

GC_API GCInitLib() {
    try {
        LoadFirst();
    } catch (const std::exception& error) {
        return Refuse(GC_ERR_ERROR, error.what());
    }
    return s_isInitialised.exchange(true)
               ? Refuse(GC_ERR_RESOURCE_IN_USE, "The library is initialised already")
               : GC_ERR_SUCCESS;
}

GC_API GCCloseLib() {
    return Answer([] {
        for (SSystem* system : CModules::Instance().ChildrenOf<SSystem>(nullptr)) {
            CloseSystem(*system);
        }
        s_isInitialised = false;
        return GC_ERROR{GC_ERR_SUCCESS};
    });
}

GC_ERROR Standard::GiveLibraryInfo(const SOut& out, TL_INFO_CMD command) {
    switch (command) {
    case TL_INFO_ID:
    case TL_INFO_NAME:
        return GiveText(out, FileNameOf(OwnPath()));
    case TL_INFO_PATHNAME:
        return GiveText(out, OwnPath());
    case TL_INFO_DISPLAYNAME:
        return GiveText(out, "Norvel GenTL, as the standard has it");
    case TL_INFO_CHAR_ENCODING:
        return GiveNumber(out, INFO_DATATYPE_INT32, TL_CHAR_ENCODING_ASCII);
    case TL_INFO_GENTL_VER_MAJOR:
        return GiveNumber(out, INFO_DATATYPE_UINT32, 1);
    case TL_INFO_GENTL_VER_MINOR:
        return GiveNumber(out, INFO_DATATYPE_UINT32, 5);
    default:
        break;
    }
    static constexpr SCommand kCommands[] = {{TL_INFO_VENDOR, INFO_DATATYPE_STRING},
                                             {TL_INFO_MODEL, INFO_DATATYPE_STRING},
                                             {TL_INFO_VERSION, INFO_DATATYPE_STRING},
                                             {TL_INFO_TLTYPE, INFO_DATATYPE_STRING}};
    return GiveFirst(out, kCommands, command,
                     [command](auto... answer) { return First().GCGetInfo(command, answer...); });
}

GC_API GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Answer([&] { return GiveLibraryInfo({piType, pBuffer, piSize}, iInfoCmd); });
}

GC_API GCGetLastError(GC_ERROR* piErrorCode, char* sErrText, size_t* piSize) {
    return GetLastError(piErrorCode, sErrText, piSize);
}
