// Description records by their ID, for the merge of an old list with a new one in linear time.
// This file knows a record only by its GetID.
#pragma once

#include <boost/shared_ptr.hpp>

#include <string>
#include <unordered_map>
#include <vector>

namespace GenICam::Client {

// IDs need not be unique: records with one ID are taken in their order in the list.
template <class Record>
class CIdPool {
public:
    using List = std::vector<boost::shared_ptr<Record>>;

    explicit CIdPool(List records) : m_records(std::move(records)) {
        for (std::size_t i = m_records.size(); i-- > 0;) {
            m_indexes[m_records[i]->GetID()].push_back(i);
        }
    }

    // Removes and returns the first record that has the ID; null when none has.
    boost::shared_ptr<Record> Take(const std::string& id) {
        const auto found = m_indexes.find(id);
        if (found == m_indexes.end() || found->second.empty()) {
            return nullptr;
        }
        const std::size_t index = found->second.back();
        found->second.pop_back();
        return std::move(m_records[index]);
    }

    // The records that were not taken, in their order.
    List Rest() {
        std::erase(m_records, nullptr);
        return std::move(m_records);
    }

private:
    List m_records;
    // Indexes of the remaining records of an ID, the last one first.
    std::unordered_map<std::string, std::vector<std::size_t>> m_indexes;
};

} // namespace GenICam::Client
