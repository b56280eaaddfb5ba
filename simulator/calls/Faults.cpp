#include "calls/Faults.h"

#include <algorithm>
#include <string_view>

namespace OptivoSim {

namespace {

// A text that names the object as the library does: by its name, or by the ID that ends with it.
bool Names(const char* text, const std::string& object) {
    if (text == nullptr) {
        return false;
    }
    std::string_view rest = text;
    if (!rest.ends_with(object)) {
        return false;
    }
    rest.remove_suffix(object.size());
    return rest.empty() || rest.ends_with("::");
}

bool CanHappen(const OptivoFault& fault) {
    return fault.operation >= 0 && fault.operation < OPTIVO_NUM_OPERATIONS && fault.count > 0;
}

bool IsSparing(double probability) {
    return probability > 0 && probability < 1;
}

} // namespace

void CFaults::Add(const SFaultPlan& plan) {
    if (!CanHappen(plan.fault)) {
        return;
    }
    const std::lock_guard lock(m_lock);
    m_planned.push_back({plan, std::mt19937_64(plan.seed)});
    ++m_numPlanned[plan.fault.operation];
}

void CFaults::Clear() {
    Replace({});
}

void CFaults::Replace(const std::vector<SFaultPlan>& plans) {
    std::list<SPlanned> planned;
    std::array<std::uint32_t, OPTIVO_NUM_OPERATIONS> numPlanned{};
    for (const SFaultPlan& plan : plans) {
        if (CanHappen(plan.fault)) {
            planned.push_back({plan, std::mt19937_64(plan.seed)});
            ++numPlanned[plan.fault.operation];
        }
    }
    const std::lock_guard lock(m_lock);
    m_planned.swap(planned);
    m_numSpoilt.clear();
    std::copy(numPlanned.begin(), numPlanned.end(), m_numPlanned.begin());
}

bool CFaults::Matches(const SFaultPlan& plan, const SCallShape& call) {
    const OptivoFault& fault = plan.fault;
    return fault.operation == call.operation &&
           (fault.selector == OPTIVO_ANY_SELECTOR || fault.selector == call.selector) &&
           (plan.object.empty() || Names(call.object, plan.object) ||
            Names(call.text, plan.object));
}

// Spelled out, as the standard distributions differ between libraries.
bool CFaults::IsDrawn(SPlanned& planned) {
    const double probability = planned.plan.probability;
    return !IsSparing(probability) ||
           static_cast<double>(planned.generator() >> 11U) * 0x1p-53 < probability;
}

std::optional<SFaultVerdict> CFaults::Take(const SCallShape& call) {
    if (m_numPlanned[call.operation].load(std::memory_order_acquire) == 0) {
        return std::nullopt;
    }
    const std::lock_guard lock(m_lock);
    for (auto next = m_planned.begin(); next != m_planned.end();) {
        const auto planned = next++;
        OptivoFault& fault = planned->plan.fault;
        if (!Matches(planned->plan, call)) {
            continue;
        }
        if (fault.skip > 0) {
            --fault.skip;
            continue;
        }
        const bool isDrawn = IsDrawn(*planned);
        const SFaultVerdict verdict{fault.kind, fault.result, m_numReleases + 1};
        if (isDrawn) {
            ++m_numSpoilt[{fault.operation, fault.result, planned->plan.object}];
        }
        if (fault.count != OPTIVO_FOREVER && --fault.count == 0) {
            m_planned.erase(planned);
            --m_numPlanned[call.operation];
        }
        if (isDrawn) {
            return verdict;
        }
    }
    return std::nullopt;
}

std::uint64_t CFaults::NumSpoilt(OptivoOperation operation, std::int32_t result,
                                 const std::string& object) const {
    const std::lock_guard lock(m_lock);
    const auto found = m_numSpoilt.find({operation, result, object});
    return found != m_numSpoilt.end() ? found->second : 0;
}

void CFaults::WaitForRelease(const SFaultVerdict& verdict) {
    std::unique_lock<std::mutex> lock(m_lock);
    m_released.wait(lock, [&] { return m_numReleases >= verdict.release; });
}

void CFaults::Release() {
    const std::lock_guard lock(m_lock);
    ++m_numReleases;
    m_released.notify_all();
}

} // namespace OptivoSim
