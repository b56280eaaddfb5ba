// Ownership of the handles that a producer gives out.
#pragma once

#include "producers/Producer.h"

#include <utility>

namespace norveltl {

// Gives an opened module back through its own close function, which reports a failure instead of
// throwing. The producer must outlive it.
class CHandle {
public:
    using Close = SFunction<PTLClose>;

    CHandle(const CProducer& producer, const Close& close, void* handle)
        : m_producer(&producer), m_close(&close), m_handle(handle) {}
    CHandle(CHandle&& other) noexcept
        : m_producer(other.m_producer),
          m_close(other.m_close),
          m_handle(std::exchange(other.m_handle, nullptr)) {}
    CHandle(const CHandle&) = delete;
    CHandle& operator=(const CHandle&) = delete;
    CHandle& operator=(CHandle&&) = delete;
    ~CHandle() {
        if (m_handle) {
            m_producer->CallOrReport(*m_close, m_handle);
        }
    }

    void* Get() const { return m_handle; }

private:
    const CProducer* m_producer;
    const Close* m_close;
    void* m_handle;
};

// Opens with function(arguments..., out handle).
template <class P, class... A>
CHandle OpenHandle(const CProducer& producer, const CHandle::Close& close,
                   const SFunction<P>& function, A... arguments) {
    void* handle = nullptr;
    producer.Call(function, arguments..., &handle);
    if (!handle) {
        throw CToolError(std::string(function.name) + " succeeded without giving a handle");
    }
    return CHandle(producer, close, handle);
}

} // namespace norveltl
