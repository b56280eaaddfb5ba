// Numbers drawn from a seed, alike on every system.
#pragma once

#include <random>

class Chance {
public:
    explicit Chance(unsigned seed) : m_random(seed) {}

    unsigned Below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

private:
    std::mt19937 m_random;
};
