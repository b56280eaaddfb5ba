// The producer module as a consumer holds it: a file that is loaded, and the functions found in it.
// Knows neither the module's sources nor the test framework.
#pragma once

#include "GenTL/GenTL.h"

#include <functional>
#include <memory>
#include <string>

class Producer {
public:
    // Which module this program tests: a path from the program's folder. NorvelTL40.cti unless a
    // static initialiser says otherwise.
    static void Choose(const char* file);
    // Whether it is the one that answers as the standard says.
    static bool IsStandard();

    // Loads the module that this program tests. Throws std::runtime_error when the file or one of
    // the functions is missing, as do the others.
    static std::unique_ptr<Producer> Load();
    static std::unique_ptr<Producer> LoadFile(const std::string& path);

    // Loads a copy of the module's file under a name of its own, so that it shares no state with
    // any other; the file is deleted with the object, or, where the module stays loaded, by the
    // first copying process after this one. change gets the copy's path before it is
    // loaded.
    static std::unique_ptr<Producer>
    LoadCopy(const std::function<void(const std::string&)>& change = {});

    // Lets go of the module, except under a leak checker.
    ~Producer();

    Producer(const Producer&) = delete;
    Producer& operator=(const Producer&) = delete;

    // The full path of the loaded file.
    const std::string& Path() const { return m_path; }

    PGCInitLib GCInitLib = nullptr;
    PGCCloseLib GCCloseLib = nullptr;
    PGCGetInfo GCGetInfo = nullptr;
    PGCGetLastError GCGetLastError = nullptr;
    PGCReadPort GCReadPort = nullptr;
    PGCWritePort GCWritePort = nullptr;
    PGCReadPortStacked GCReadPortStacked = nullptr;
    PGCWritePortStacked GCWritePortStacked = nullptr;
    PGCGetPortURL GCGetPortURL = nullptr;
    PGCGetNumPortURLs GCGetNumPortURLs = nullptr;
    PGCGetPortURLInfo GCGetPortURLInfo = nullptr;
    PGCGetPortInfo GCGetPortInfo = nullptr;

    PGCRegisterEvent GCRegisterEvent = nullptr;
    PGCUnregisterEvent GCUnregisterEvent = nullptr;
    PEventGetData EventGetData = nullptr;
    PEventGetDataInfo EventGetDataInfo = nullptr;
    PEventGetInfo EventGetInfo = nullptr;
    PEventFlush EventFlush = nullptr;
    PEventKill EventKill = nullptr;

    PTLOpen TLOpen = nullptr;
    PTLClose TLClose = nullptr;
    PTLGetInfo TLGetInfo = nullptr;
    PTLGetNumInterfaces TLGetNumInterfaces = nullptr;
    PTLGetInterfaceID TLGetInterfaceID = nullptr;
    PTLGetInterfaceInfo TLGetInterfaceInfo = nullptr;
    PTLOpenInterface TLOpenInterface = nullptr;
    PTLUpdateInterfaceList TLUpdateInterfaceList = nullptr;

    PIFClose IFClose = nullptr;
    PIFGetInfo IFGetInfo = nullptr;
    PIFGetNumDevices IFGetNumDevices = nullptr;
    PIFGetDeviceID IFGetDeviceID = nullptr;
    PIFUpdateDeviceList IFUpdateDeviceList = nullptr;
    PIFGetDeviceInfo IFGetDeviceInfo = nullptr;
    PIFOpenDevice IFOpenDevice = nullptr;
    PIFGetParentTL IFGetParentTL = nullptr;

    PDevGetPort DevGetPort = nullptr;
    PDevGetNumDataStreams DevGetNumDataStreams = nullptr;
    PDevGetDataStreamID DevGetDataStreamID = nullptr;
    PDevOpenDataStream DevOpenDataStream = nullptr;
    PDevGetInfo DevGetInfo = nullptr;
    PDevClose DevClose = nullptr;
    PDevGetParentIF DevGetParentIF = nullptr;

    PDSAnnounceBuffer DSAnnounceBuffer = nullptr;
    PDSAllocAndAnnounceBuffer DSAllocAndAnnounceBuffer = nullptr;
    PDSRevokeBuffer DSRevokeBuffer = nullptr;
    PDSQueueBuffer DSQueueBuffer = nullptr;
    PDSFlushQueue DSFlushQueue = nullptr;
    PDSStartAcquisition DSStartAcquisition = nullptr;
    PDSStopAcquisition DSStopAcquisition = nullptr;
    PDSGetInfo DSGetInfo = nullptr;
    PDSGetBufferInfo DSGetBufferInfo = nullptr;
    PDSGetBufferID DSGetBufferID = nullptr;
    PDSClose DSClose = nullptr;
    PDSGetParentDev DSGetParentDev = nullptr;
    PDSGetBufferChunkData DSGetBufferChunkData = nullptr;
    PDSGetNumBufferParts DSGetNumBufferParts = nullptr;
    PDSGetBufferPartInfo DSGetBufferPartInfo = nullptr;

private:
    Producer(std::string path, bool isCopy);

    void ResolveAll();

    template <typename Function>
    void Resolve(Function& function, const char* name);

    std::string m_path;
    bool m_isCopy;
    void* m_library = nullptr; // owned
};

// The module that all tests of a process share. It stays loaded until the process ends.
Producer& TheProducer();
