// Description records by their ID, for the merge of an old list with a new one in linear time.
// This file knows a record only by its GetID.
#pragma once

#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace GenICam::Client {

// IDs need not be unique: records with one ID are taken in their order in the list.
template <class Record>
class CIdPool {
public:
    using List = std::vector<boost::shared_ptr<Record>>;

    explicit CIdPool(List records) : m_records(std::move(records)), m_next(m_records.size()) {
        m_first.reserve(m_records.size());
        for (std::size_t i = m_records.size(); i-- > 0;) {
            const auto entry = m_first.try_emplace(m_records[i]->GetID(), kNone).first;
            m_next[i] = std::exchange(entry->second, i);
        }
    }

    // Removes and returns the first record that has the ID; null when none has.
    boost::shared_ptr<Record> Take(const std::string& id) {
        const auto found = m_first.find(id);
        if (found == m_first.end() || found->second == kNone) {
            return nullptr;
        }
        const std::size_t index = std::exchange(found->second, m_next[found->second]);
        return std::move(m_records[index]);
    }

    // The records that were not taken, in their order.
    List Rest() {
        std::erase(m_records, nullptr);
        return std::move(m_records);
    }

private:
    static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

    List m_records;
    // The index of the first remaining record of an ID, and behind each record that of the next one
    // with the same ID.
    std::unordered_map<std::string, std::size_t> m_first;
    std::vector<std::size_t> m_next;
};

} // namespace GenICam::Client
