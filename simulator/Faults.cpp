#include "Faults.h"

namespace OptivoSim {

void CFaults::Add(const OptivoFault& fault) {
    if (fault.operation < 0 || fault.operation >= OPTIVO_NUM_OPERATIONS || fault.count == 0) {
        return;
    }
    const std::lock_guard lock(m_lock);
    m_planned.push_back(fault);
    ++m_numPlanned[fault.operation];
}

void CFaults::Clear() {
    const std::lock_guard lock(m_lock);
    m_planned.clear();
    for (auto& numPlanned : m_numPlanned) {
        numPlanned = 0;
    }
}

std::optional<FaultVerdict> CFaults::Take(OptivoOperation operation, std::uint64_t selector) {
    if (m_numPlanned[operation].load(std::memory_order_acquire) == 0) {
        return std::nullopt;
    }
    const std::lock_guard lock(m_lock);
    for (auto fault = m_planned.begin(); fault != m_planned.end(); ++fault) {
        if (fault->operation != operation ||
            (fault->selector != OPTIVO_ANY_SELECTOR && fault->selector != selector)) {
            continue;
        }
        if (fault->skip > 0) {
            --fault->skip;
            continue;
        }
        const FaultVerdict verdict{fault->kind, fault->result, m_numReleases + 1};
        if (fault->count != OPTIVO_FOREVER && --fault->count == 0) {
            m_planned.erase(fault);
            --m_numPlanned[operation];
        }
        return verdict;
    }
    return std::nullopt;
}

void CFaults::WaitForRelease(const FaultVerdict& verdict) {
    std::unique_lock lock(m_lock);
    m_released.wait(lock, [&] { return m_numReleases >= verdict.release; });
}

void CFaults::Release() {
    const std::lock_guard lock(m_lock);
    ++m_numReleases;
    m_released.notify_all();
}

} // namespace OptivoSim
