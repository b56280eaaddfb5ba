#include "calls/CallLog.h"

#include <algorithm>

namespace OptivoSim {

namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;

} // namespace

void CCallLog::Record(const SCallShape& call) {
    SOperation& operation = m_operations[call.operation];
    if (call.text != nullptr) {
        const std::lock_guard lock(m_textLock);
        m_texts[call.operation] = call.text;
    }
    operation.lastArgument.store(call.argument, kRelaxed);
    operation.lastSize.store(call.size != nullptr ? *call.size : 0, kRelaxed);
    // The count comes last, so that whoever sees a call counted sees its arguments too.
    const std::uint64_t index = operation.numBegun.fetch_add(1, kRelaxed);
    operation.selectors[index % kNumKept].store(call.selector, kRelaxed);
    operation.numCalls.fetch_add(1, std::memory_order_release);
}

void CCallLog::Reset() {
    for (SOperation& operation : m_operations) {
        operation.numBegun.store(0, kRelaxed);
        operation.numCalls.store(0, kRelaxed);
        operation.lastArgument.store(0, kRelaxed);
        operation.lastSize.store(0, kRelaxed);
    }
    const std::lock_guard lock(m_textLock);
    for (std::string& text : m_texts) {
        text.clear();
    }
}

std::uint64_t CCallLog::NumCalls(OptivoOperation operation) const {
    return m_operations[operation].numCalls.load(std::memory_order_acquire);
}

std::uint64_t CCallLog::LastSelector(OptivoOperation operation) const {
    std::uint64_t selectors[kNumKept] = {};
    const std::size_t count = Selectors(operation, selectors, kNumKept);
    return count > 0 ? selectors[count - 1] : 0;
}

std::uint64_t CCallLog::LastArgument(OptivoOperation operation) const {
    return m_operations[operation].lastArgument.load(kRelaxed);
}

std::uint64_t CCallLog::LastSize(OptivoOperation operation) const {
    return m_operations[operation].lastSize.load(kRelaxed);
}

std::string CCallLog::LastText(OptivoOperation operation) const {
    const std::lock_guard lock(m_textLock);
    return m_texts[operation];
}

std::size_t CCallLog::Selectors(OptivoOperation operation, std::uint64_t* selectors,
                                std::size_t capacity) const {
    const std::uint64_t numCalls = NumCalls(operation);
    const std::uint64_t numKept = std::min<std::uint64_t>(numCalls, kNumKept);
    const std::uint64_t numCopied =
        selectors != nullptr ? std::min<std::uint64_t>(numKept, capacity) : 0;
    for (std::uint64_t i = 0; i < numCopied; ++i) {
        const std::uint64_t call = numCalls - numCopied + i;
        selectors[i] = m_operations[operation].selectors[call % kNumKept].load(kRelaxed);
    }
    return static_cast<std::size_t>(numKept);
}

} // namespace OptivoSim
