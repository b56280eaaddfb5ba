#include "camera/ImageFaults.h"

namespace OptivoSim {

void CImageFaults::Add(const OptivoImageFault& fault) {
    if (fault.count == 0) {
        return;
    }
    const std::lock_guard lock(m_lock);
    m_planned.push_back({fault, std::mt19937_64(fault.seed)});
    m_hasAny = true;
}

std::optional<OptivoImageFault> CImageFaults::Take() {
    if (!m_hasAny.load(std::memory_order_acquire)) {
        return std::nullopt;
    }
    const std::lock_guard lock(m_lock);
    for (auto planned = m_planned.begin(); planned != m_planned.end(); ++planned) {
        OptivoImageFault& fault = planned->fault;
        if (fault.skip > 0) {
            --fault.skip;
            continue;
        }
        const bool isSure = !(fault.probability > 0 && fault.probability < 1);
        if (!isSure && std::uniform_real_distribution<>()(planned->random) >= fault.probability) {
            continue;
        }
        const OptivoImageFault taken = fault;
        if (fault.count != OPTIVO_FOREVER && --fault.count == 0) {
            m_planned.erase(planned);
            m_hasAny = !m_planned.empty();
        }
        return taken;
    }
    return std::nullopt;
}

} // namespace OptivoSim
