#include "modules/IdPool.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

struct Named {
    std::string GetID() const { return id; }

    std::string id;
    int number;
};

using Pool = GenICam::Client::CIdPool<Named>;

Pool PoolOf(const std::vector<Named>& records) {
    Pool::List list;
    for (const Named& record : records) {
        list.push_back(boost::make_shared<Named>(record));
    }
    return Pool(std::move(list));
}

// The record's number; 0 for none.
int Take(Pool& pool, const char* id) {
    const auto record = pool.Take(id);
    return record ? record->number : 0;
}

std::vector<int> Rest(Pool& pool) {
    std::vector<int> numbers;
    for (const auto& record : pool.Rest()) {
        numbers.push_back(record->number);
    }
    return numbers;
}

TEST(IdPoolTest, GivesEachRecordOnce) {
    Pool pool = PoolOf({{"a", 1}, {"b", 2}});
    EXPECT_EQ(Take(pool, "b"), 2);
    EXPECT_EQ(Take(pool, "b"), 0);
    EXPECT_EQ(Take(pool, "a"), 1);
    EXPECT_EQ(Take(pool, "a"), 0);
    EXPECT_EQ(Rest(pool), std::vector<int>());
}

TEST(IdPoolTest, ComparesIdsByteByByte) {
    Pool pool = PoolOf({{"a", 1}, {"", 2}});
    EXPECT_EQ(Take(pool, "A"), 0);
    EXPECT_EQ(Take(pool, "aa"), 0);
    EXPECT_EQ(Take(pool, ""), 2);
}

TEST(IdPoolTest, GivesRecordsOfOneIdInTheirOrder) {
    Pool pool = PoolOf({{"x", 1}, {"a", 2}, {"x", 3}, {"x", 4}});
    EXPECT_EQ(Take(pool, "x"), 1);
    EXPECT_EQ(Take(pool, "x"), 3);
    EXPECT_EQ(Rest(pool), (std::vector<int>{2, 4}));
}

TEST(IdPoolTest, TheRestKeepsItsOrder) {
    Pool pool = PoolOf({{"e", 1}, {"d", 2}, {"c", 3}, {"b", 4}, {"a", 5}});
    EXPECT_EQ(Take(pool, "c"), 3);
    EXPECT_EQ(Rest(pool), (std::vector<int>{1, 2, 4, 5}));
}

TEST(IdPoolTest, MayBeEmpty) {
    Pool pool = PoolOf({});
    EXPECT_EQ(Take(pool, "a"), 0);
    EXPECT_EQ(Rest(pool), std::vector<int>());
}

} // namespace
