// A producer module, loaded at run time and initialised: its functions, and its answers turned
// into values and errors. Works with any producer and knows none in particular.
#pragma once

#include "producers/DynamicLibrary.h"
#include "terminal/Error.h"

#include <GenTL/GenTL.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace norveltl {

// An exported function and the name under which it is looked for. Not every producer has them all.
template <class P>
struct SFunction {
    const char* name;
    P address = nullptr;

    bool IsMissing() const { return address == nullptr; }
    // Throws CMissingFunction for a function that the producer does not have.
    template <class... A>
    GC_ERROR operator()(A... arguments) const {
        if (IsMissing()) {
            throw CMissingFunction(name);
        }
        return address(arguments...);
    }
};

// One info query, all arguments but the answer's already bound.
using InfoQuery = std::function<GC_ERROR(INFO_DATATYPE*, void*, size_t*)>;

struct SNumber {
    uint64_t value; // a signed answer is extended to 64 bits
    INFO_DATATYPE type;
};

// Each answers nothing when the producer refuses the query or writes no value of that kind. A text
// ends at its first zero, whatever length the producer gives it.
std::optional<std::string> QueryText(const InfoQuery& query);
std::optional<SNumber> QueryTypedNumber(const InfoQuery& query);
std::optional<uint64_t> QueryNumber(const InfoQuery& query);

class CProducer {
public:
    // Loads and initialises the module; throws CToolError for what is no producer at all.
    explicit CProducer(const std::filesystem::path& module);
    ~CProducer();
    CProducer(const CProducer&) = delete;
    CProducer& operator=(const CProducer&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    // Its folder, as the system knows it.
    std::filesystem::path LoadedFolder() const { return m_library.Path().parent_path(); }

    // Throws CCallError with the producer's own last-error text unless the function succeeds.
    template <class P, class... A>
    void Call(const SFunction<P>& function, A... arguments) const {
        Check(function.name, function(arguments...));
    }

    // The same for destructors: the error is reported at once instead of thrown, and what is
    // missing is left out.
    template <class P, class... A>
    void CallOrReport(const SFunction<P>& function, A... arguments) const noexcept {
        if (function.IsMissing()) {
            return;
        }
        try {
            Call(function, arguments...);
        } catch (const std::exception& error) {
            Report(error);
        }
    }

    // For functions that end in a text and its size: asks for the size, then for the text.
    template <class P, class... A>
    std::string CallText(const SFunction<P>& function, A... arguments) const {
        size_t size = 0;
        Call(function, arguments..., nullptr, &size);
        std::string text(size, '\0');
        Call(function, arguments..., text.data(), &size);
        return text.substr(0, text.find('\0'));
    }

    // A missing function refuses the query.
    template <class P, class... A>
    static InfoQuery Query(const SFunction<P>& function, A... arguments) {
        return [function, arguments...](INFO_DATATYPE* type, void* buffer, size_t* size) {
            return function.IsMissing() ? static_cast<GC_ERROR>(GC_ERR_NOT_IMPLEMENTED)
                                        : function(arguments..., type, buffer, size);
        };
    }

    void Check(const char* function, GC_ERROR code) const;

    struct SExport {
        const char* name;
        bool isMissing;
    };
    // All functions that a producer exports by the standard.
    const std::vector<SExport>& Exports() const { return m_exports; }

private:
    static void Report(const std::exception& error) noexcept;
    std::string LastError(GC_ERROR code) const;
    void ResolveAll();

    std::filesystem::path m_path;
    CDynamicLibrary m_library;
    std::vector<SExport> m_exports;

public:
    SFunction<PGCInitLib> GCInitLib{"GCInitLib"};
    SFunction<PGCCloseLib> GCCloseLib{"GCCloseLib"};
    SFunction<PGCGetInfo> GCGetInfo{"GCGetInfo"};
    SFunction<PGCGetLastError> GCGetLastError{"GCGetLastError"};
    SFunction<PGCReadPort> GCReadPort{"GCReadPort"};
    SFunction<PGCWritePort> GCWritePort{"GCWritePort"};
    SFunction<PGCGetPortURL> GCGetPortURL{"GCGetPortURL"};
    SFunction<PGCGetNumPortURLs> GCGetNumPortURLs{"GCGetNumPortURLs"};
    SFunction<PGCGetPortURLInfo> GCGetPortURLInfo{"GCGetPortURLInfo"};
    SFunction<PGCGetPortInfo> GCGetPortInfo{"GCGetPortInfo"};
    SFunction<PGCReadPortStacked> GCReadPortStacked{"GCReadPortStacked"};
    SFunction<PGCWritePortStacked> GCWritePortStacked{"GCWritePortStacked"};
    SFunction<PGCRegisterEvent> GCRegisterEvent{"GCRegisterEvent"};
    SFunction<PGCUnregisterEvent> GCUnregisterEvent{"GCUnregisterEvent"};
    SFunction<PEventGetData> EventGetData{"EventGetData"};
    SFunction<PEventGetDataInfo> EventGetDataInfo{"EventGetDataInfo"};
    SFunction<PEventGetInfo> EventGetInfo{"EventGetInfo"};
    SFunction<PEventFlush> EventFlush{"EventFlush"};
    SFunction<PEventKill> EventKill{"EventKill"};
    SFunction<PTLOpen> TLOpen{"TLOpen"};
    SFunction<PTLClose> TLClose{"TLClose"};
    SFunction<PTLGetInfo> TLGetInfo{"TLGetInfo"};
    SFunction<PTLGetNumInterfaces> TLGetNumInterfaces{"TLGetNumInterfaces"};
    SFunction<PTLGetInterfaceID> TLGetInterfaceID{"TLGetInterfaceID"};
    SFunction<PTLGetInterfaceInfo> TLGetInterfaceInfo{"TLGetInterfaceInfo"};
    SFunction<PTLOpenInterface> TLOpenInterface{"TLOpenInterface"};
    SFunction<PTLUpdateInterfaceList> TLUpdateInterfaceList{"TLUpdateInterfaceList"};
    SFunction<PIFClose> IFClose{"IFClose"};
    SFunction<PIFGetInfo> IFGetInfo{"IFGetInfo"};
    SFunction<PIFGetNumDevices> IFGetNumDevices{"IFGetNumDevices"};
    SFunction<PIFGetDeviceID> IFGetDeviceID{"IFGetDeviceID"};
    SFunction<PIFUpdateDeviceList> IFUpdateDeviceList{"IFUpdateDeviceList"};
    SFunction<PIFGetDeviceInfo> IFGetDeviceInfo{"IFGetDeviceInfo"};
    SFunction<PIFOpenDevice> IFOpenDevice{"IFOpenDevice"};
    SFunction<PIFGetParentTL> IFGetParentTL{"IFGetParentTL"};
    SFunction<PDevGetInfo> DevGetInfo{"DevGetInfo"};
    SFunction<PDevGetPort> DevGetPort{"DevGetPort"};
    SFunction<PDevGetNumDataStreams> DevGetNumDataStreams{"DevGetNumDataStreams"};
    SFunction<PDevGetDataStreamID> DevGetDataStreamID{"DevGetDataStreamID"};
    SFunction<PDevOpenDataStream> DevOpenDataStream{"DevOpenDataStream"};
    SFunction<PDevClose> DevClose{"DevClose"};
    SFunction<PDevGetParentIF> DevGetParentIF{"DevGetParentIF"};
    SFunction<PDSAnnounceBuffer> DSAnnounceBuffer{"DSAnnounceBuffer"};
    SFunction<PDSAllocAndAnnounceBuffer> DSAllocAndAnnounceBuffer{"DSAllocAndAnnounceBuffer"};
    SFunction<PDSRevokeBuffer> DSRevokeBuffer{"DSRevokeBuffer"};
    SFunction<PDSQueueBuffer> DSQueueBuffer{"DSQueueBuffer"};
    SFunction<PDSFlushQueue> DSFlushQueue{"DSFlushQueue"};
    SFunction<PDSStartAcquisition> DSStartAcquisition{"DSStartAcquisition"};
    SFunction<PDSStopAcquisition> DSStopAcquisition{"DSStopAcquisition"};
    SFunction<PDSGetInfo> DSGetInfo{"DSGetInfo"};
    SFunction<PDSGetBufferInfo> DSGetBufferInfo{"DSGetBufferInfo"};
    SFunction<PDSGetBufferID> DSGetBufferID{"DSGetBufferID"};
    SFunction<PDSClose> DSClose{"DSClose"};
    SFunction<PDSGetParentDev> DSGetParentDev{"DSGetParentDev"};
    SFunction<PDSGetBufferChunkData> DSGetBufferChunkData{"DSGetBufferChunkData"};
    SFunction<PDSGetNumBufferParts> DSGetNumBufferParts{"DSGetNumBufferParts"};
    SFunction<PDSGetBufferPartInfo> DSGetBufferPartInfo{"DSGetBufferPartInfo"};
};

// "GC_ERR_TIMEOUT (-1011)"; a code of a producer's own is named GC_ERR_CUSTOM.
std::string CodeText(GC_ERROR code);

} // namespace norveltl
