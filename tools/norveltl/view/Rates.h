// How often a client may do what costs something.
#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace norveltl {

// Any thread may call. A client is known by any text.
class CRates {
public:
    // So many at once, and after that so many a second.
    CRates(double atOnce, double perSecond) : m_atOnce(atOnce), m_perSecond(perSecond) {}

    // Nothing when it may, which is counted; otherwise in how many seconds it may.
    std::optional<unsigned> Take(const std::string& client);

private:
    using Clock = std::chrono::steady_clock;
    struct SAccount {
        double left;
        Clock::time_point when;
    };

    double LeftOf(const SAccount& account, Clock::time_point now) const;
    void ForgetTheIdle(Clock::time_point now);

    const double m_atOnce, m_perSecond;
    std::mutex m_lock;
    std::unordered_map<std::string, SAccount> m_accounts;
};

} // namespace norveltl
