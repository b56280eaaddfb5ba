// Keeps the calling thread, and those that it makes meanwhile, on one of the processors that the
// process may use, so that the system's choice is no part of a figure.
#pragma once

#if defined(__linux__)
#include "Subjects.h"

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <cstddef>
#endif

#if defined(__linux__)
class CThreadPlacement {
public:
    explicit CThreadPlacement(int processor) {
        Require(pthread_getaffinity_np(pthread_self(), sizeof m_before, &m_before) == 0,
                "getaffinity");
        const cpu_set_t& all = Usable();
        std::size_t chosen = 0;
        while (CPU_ISSET(chosen, &all) == 0 || processor-- % CPU_COUNT(&all) != 0) {
            ++chosen;
        }
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(chosen, &one);
        Set(one);
    }
    ~CThreadPlacement() { Set(m_before); }
    CThreadPlacement(const CThreadPlacement&) = delete;
    CThreadPlacement& operator=(const CThreadPlacement&) = delete;

private:
    static const cpu_set_t& Usable() {
        static const cpu_set_t s_usable = [] {
            cpu_set_t set;
            Require(sched_getaffinity(getpid(), sizeof set, &set) == 0, "getaffinity");
            return set;
        }();
        return s_usable;
    }
    static void Set(const cpu_set_t& set) {
        Require(pthread_setaffinity_np(pthread_self(), sizeof set, &set) == 0, "setaffinity");
    }

    cpu_set_t m_before;
};
#else
// Threads do not pass their processors on here: the system places all of them.
struct CThreadPlacement {
    explicit CThreadPlacement(int /*processor*/) {}
    ~CThreadPlacement() {}
};
#endif
