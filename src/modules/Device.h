// The Device module: an opened camera with its remote port, its data streams and its error event.
// It knows the streams that it opens, and of its interface only that it must be told when the
// device goes.
#pragma once

#include "camlib/CameraObjects.h"
#include "core/CommonBase.h"
#include "events/EventError.h"
#include "modules/DeviceInfo.h"

#include <boost/shared_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace GenICam::Client {

class CDataStream;
class CDevicePort;
class CInterface;

// Only the list of streams is locked: several threads may open and close the streams of one device,
// and one may close the device while others close its streams.
// Only the table of operations demands GetStream and RemoveStream: nobody calls them.
class CDevice final : public ICommonBase {
public:
    // The camera may be null: the library can call an opening a success and give nothing.
    CDevice(CInterface* owner, std::string id, boost::shared_ptr<CDeviceInfo> info,
            CCameraObject<Optivo::ICamDevice> camera, std::uint32_t cameraIndex);
    // Destroys the streams that are still open, and waits for those that other threads are closing.
    ~CDevice() override;
    CDevice(const CDevice&) = delete;
    CDevice& operator=(const CDevice&) = delete;

    // The device's own port has no registers, and its URL names an XML that nobody provides.
    COutcome GetPortURL(char* buffer, size_t* size) override;
    COutcome GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                         size_t* size) override;
    COutcome GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                            void* buffer, size_t* size) override;

    virtual boost::shared_ptr<CDeviceInfo> GetDeviceInfo();
    // The stream at a position of the list; null behind its end.
    virtual CDataStream* GetStream(std::uint32_t index);
    // Forgets the stream at a position. Throws std::invalid_argument behind the list's end.
    virtual void RemoveStream(std::uint32_t index);

    // Behind the module's own operations, because an override of the second base takes a place in
    // this class's table too.
    // Only EVENT_ERROR; throws std::runtime_error for every other type.
    void RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* event) override;
    void UnregisterEvent(EVENT_TYPE type) override;

    // Destroys this device; throws what the camera library throws when it takes its device back.
    void Close();
    // Answers DEVICE_INFO commands; refuses one that does not exist as std::invalid_argument.
    COutcome GetInfo(DEVICE_INFO_CMD command, INFO_DATATYPE* type, void* buffer, size_t* size);
    // What the camera reports, or else what it reported last (1 at first).
    std::uint32_t GetNumDataStreams();
    // Throws std::invalid_argument for every index but 0.
    std::string GetDataStreamID(std::uint32_t index) const;
    // The stream that is open under this ID and not being closed, or a new one; this device owns
    // it.
    CDataStream* OpenDataStream(const char* id);
    // Forgets a stream that is being destroyed; the stream's last use of its device.
    void ForgetStream(const CDataStream* stream);

    // Lives as long as the device.
    ICommonBase* RemotePort() const;
    // The camera library's object; there may be none.
    const CCameraObject<Optivo::ICamDevice>& Camera() const { return m_camera; }

    const CDeviceInfo& Info() const { return *m_info; }
    // The ID under which the interface lists the device.
    const std::string& Id() const { return m_id; }
    // The interface that opened the device, null once it is closed.
    CInterface* Interface() const { return m_interface.load(std::memory_order_relaxed); }
    // The interface is going and the device stays.
    void LeaveInterface() { m_interface.store(nullptr, std::memory_order_relaxed); }
    // What IFOpenDevice was called with; the device itself does not interpret it.
    std::uint32_t CameraIndex() const { return m_cameraIndex; }

private:
    std::string Url() const;
    void StopUse();
    void CloseStreams();

    std::string m_id;
    boost::mutex m_openingLock; // held while the camera opens a stream; before m_streamsLock
    boost::mutex m_streamsLock;
    boost::condition_variable m_streamLeft;
    std::vector<CDataStream*> m_streams; // owned
    std::atomic<CInterface*> m_interface;
    boost::shared_ptr<CDevicePort> m_port;
    std::atomic<std::uint32_t> m_numStreams{1};
    boost::shared_ptr<CDeviceInfo> m_info;
    std::uint32_t m_xmlLength = 0;
    CCameraObject<Optivo::ICamDevice> m_camera;
    std::uint32_t m_cameraIndex;
    std::unique_ptr<CEventError> m_errorEvent;
};

} // namespace GenICam::Client
