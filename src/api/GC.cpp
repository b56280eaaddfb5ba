// The library and port functions.
#include "api/CallFrame.h"
#include "api/HandleChecks.h"
#include "core/Errors.h"
#include "core/InfoOut.h"
#include "core/ModuleIdentity.h"
#include "platform/Platform.h"

using namespace GenICam::Client;

namespace {

// Answers GC_ERR_ERROR, unrecorded, when the module's path has no file name.
COutcome AnswerModuleFileName(const CInfoOut& out) {
    const std::optional<std::string> name = FileNameOf(ModulePath());
    return name ? out.String(*name) : COutcome(GC_ERR_ERROR);
}

COutcome AnswerLibraryInfo(TL_INFO_CMD command, const CInfoOut& out) {
    switch (command) {
    case TL_INFO_ID:
    case TL_INFO_NAME:
        return AnswerModuleFileName(out);
    case TL_INFO_VENDOR:
        return out.String(kVendorName);
    case TL_INFO_MODEL:
        return out.String(kModelName);
    case TL_INFO_VERSION:
        return out.String(VersionText(Platform::FileVersion()));
    case TL_INFO_TLTYPE:
        return out.String(kTLType);
    case TL_INFO_PATHNAME:
        return out.String(ModulePath());
    case TL_INFO_DISPLAYNAME:
        return out.String("MorvelTL for Norvel cameras");
    default:
        return Refusal<invalid_parameter_error>("Unsupported GCInfo parameter");
    }
}

// Runs one access per entry and leaves in *numEntries how many of them completed.
template <class Entry, class Access>
GC_ERROR RunStacked(PORT_HANDLE handle, Entry* entries, size_t* numEntries, Access&& access) {
    return FramedOn(handle, IsModule, [&]() -> GC_ERROR {
        if (entries == nullptr || numEntries == nullptr || *numEntries == 0) {
            return GC_ERR_INVALID_PARAMETER;
        }
        const size_t wanted = *numEntries;
        size_t done = 0;
        const GC_ERROR result = Translated([&] {
            for (; done < wanted; ++done) {
                access(PortOf(handle), entries[done]);
            }
        });
        *numEntries = done;
        return result;
    });
}

} // namespace

GC_API GCInitLib(void) {
    SetInitialized(true);
    return GC_ERR_SUCCESS;
}

GC_API GCCloseLib(void) {
    SetInitialized(false);
    return GC_ERR_SUCCESS;
}

// Tells a bad size by a code of its own, unlike the framed functions.
GC_API GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Framed([&] {
        const COutcome outcome = AnswerLibraryInfo(iInfoCmd, CInfoOut(piType, pBuffer, piSize));
        return outcome.IsRefusal() && !outcome.IsTold()
                   ? outcome.ToldAs(piSize == nullptr ? GC_ERR_INVALID_PARAMETER
                                                      : GC_ERR_BUFFER_TOO_SMALL)
                   : outcome;
    });
}

GC_API GCGetLastError(GC_ERROR* piErrorCode, char* sErrText, size_t* piSize) {
    return Translated([&] { return ReadLastError(piErrorCode, sErrText, piSize); });
}

GC_API GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void* pBuffer, size_t* piSize) {
    return FramedOn(hPort, IsModule, [&] { PortOf(hPort).Read(iAddress, pBuffer, piSize); });
}

GC_API GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void* pBuffer, size_t* piSize) {
    return FramedOn(hPort, IsModule, [&] { PortOf(hPort).Write(iAddress, pBuffer, piSize); });
}

GC_API GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                         size_t* piNumEntries) {
    return RunStacked(hPort, pEntries, piNumEntries, [](IPort& port, auto& entry) {
        port.Read(entry.Address, entry.pBuffer, &entry.Size);
    });
}

GC_API GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                          size_t* piNumEntries) {
    return RunStacked(hPort, pEntries, piNumEntries, [](IPort& port, auto& entry) {
        port.Write(entry.Address, entry.pBuffer, &entry.Size);
    });
}

GC_API GCGetPortURL(PORT_HANDLE hPort, char* sURL, size_t* piSize) {
    return FramedOn(hPort, IsModule, [&] { return PortOf(hPort).GetPortURL(sURL, piSize); });
}

GC_API GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t* piNumURLs) {
    return FramedOn(hPort, IsModule, [&] { PortOf(hPort).GetNumPortURLs(piNumURLs); });
}

GC_API GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd,
                        INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return FramedOn(hPort, IsModule, [&] {
        return PortOf(hPort).GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
    });
}

GC_API GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                     void* pBuffer, size_t* piSize) {
    return FramedOn(hPort, IsModule,
                    [&] { return PortOf(hPort).GetPortInfo(iInfoCmd, piType, pBuffer, piSize); });
}
