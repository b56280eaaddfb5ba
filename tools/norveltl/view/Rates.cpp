#include "view/Rates.h"

#include <algorithm>
#include <cmath>

namespace norveltl {

namespace {

constexpr size_t kMaxAccounts = 4096;

} // namespace

std::optional<unsigned> CRates::Take(const std::string& client) {
    const std::lock_guard lock(m_lock);
    const Clock::time_point now = Clock::now();
    if (m_accounts.size() >= kMaxAccounts && !m_accounts.contains(client)) {
        ForgetTheIdle(now);
    }
    // More clients than anybody has share one account.
    const bool isShared = m_accounts.size() >= kMaxAccounts && !m_accounts.contains(client);
    SAccount& account =
        m_accounts.try_emplace(isShared ? "" : client, SAccount{m_atOnce, now}).first->second;
    account = {LeftOf(account, now), now};
    if (account.left < 1) {
        return static_cast<unsigned>(std::ceil((1 - account.left) / m_perSecond));
    }
    account.left -= 1;
    return std::nullopt;
}

double CRates::LeftOf(const SAccount& account, Clock::time_point now) const {
    const std::chrono::duration<double> passed = now - account.when;
    return std::min(m_atOnce, account.left + passed.count() * m_perSecond);
}

// An account that is full again is as good as none.
void CRates::ForgetTheIdle(Clock::time_point now) {
    std::erase_if(m_accounts, [&](const auto& one) { return LeftOf(one.second, now) >= m_atOnce; });
}

} // namespace norveltl
