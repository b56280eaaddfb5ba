// Static state that stays usable until the module is unmapped: threads of the consumer may still
// call while the process ends and its other static objects are destroyed.
#pragma once

namespace GenICam::Client {

template <class T>
union CNeverDestroyed {
    constexpr CNeverDestroyed() noexcept(noexcept(T())) : m_value() {}
    // What it owns is left, so that it must own nothing or give that back otherwise.
    ~CNeverDestroyed() {} // NOLINT(modernize-use-equals-default): that would be deleted
    CNeverDestroyed(const CNeverDestroyed&) = delete;
    CNeverDestroyed& operator=(const CNeverDestroyed&) = delete;

    T m_value;
};

} // namespace GenICam::Client
