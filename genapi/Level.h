// Counts how deep a recursion is.
#pragma once

namespace GenApi {

// One level further down for as long as it lives.
class CLevel {
public:
    explicit CLevel(unsigned& depth) : m_depth(depth) { ++m_depth; }
    ~CLevel() { --m_depth; }
    CLevel(const CLevel&) = delete;
    CLevel& operator=(const CLevel&) = delete;

private:
    unsigned& m_depth;
};

} // namespace GenApi
