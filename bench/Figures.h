// The figures, room by room. Each is a pair of benchmarks: "<figure>/module" measures the producer,
// "<figure>/floor" what no producer can do without. Report.py knows what they are held against.
#pragma once

#include <benchmark/benchmark.h>

#include <string>

// Which of two amounts of work is done: the one that is worth judging, or the one that only shows
// that every benchmark still runs.
struct SEffort {
    bool isQuick = false;

    template <class Amount>
    Amount Of(Amount full, Amount quick) const {
        return isQuick ? quick : full;
    }
};

// Frames through the data stream: cost and throughput.
void RegisterFrames(const SEffort& effort);
// How long a waiting consumer takes to get an image.
void RegisterLatency(const SEffort& effort);
// Single calls of exported functions.
void RegisterCalls(const SEffort& effort);
// What the module that answers as the standard says adds to the other one, which is its floor.
void RegisterStandard(const SEffort& effort);
// Updates of the device list.
void RegisterLists(const SEffort& effort);
// What the whole process consumes.
void RegisterProcess(const SEffort& effort);
