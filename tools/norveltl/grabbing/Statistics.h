// How regularly images came: intervals and delays of an acquisition. Knows nothing of producers.
#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <vector>

namespace norveltl {

// Of a sample of durations, in milliseconds.
struct SSpread {
    double min, median, percentile90, percentile99, percentile999, max, mean;
};

// Nothing for an empty sample.
std::optional<SSpread> SpreadOf(std::vector<double> sample);

class CStatistics {
public:
    using Clock = std::chrono::steady_clock;

    // Room for so many images; later ones are not recorded.
    explicit CStatistics(size_t capacity) { m_images.reserve(capacity); }

    // timestamp: the producer's, in ticks of a clock of its own; 0 when it gives none.
    void Add(Clock::time_point arrival, uint64_t timestamp) {
        if (m_images.size() < m_images.capacity()) {
            m_images.push_back({arrival, timestamp});
        }
    }

    // Between successive arrivals, in milliseconds.
    std::vector<double> Intervals() const;
    // From an image's timestamp to its arrival, above the shortest such time, in milliseconds: the
    // two clocks have no common zero, and the rate of the producer's follows from the whole
    // acquisition. Empty without timestamps.
    std::vector<double> Delays() const;

    // Between the earliest and the latest arrival of each image that all of them have, the first
    // ones, the second ones and so on, in milliseconds.
    static std::vector<double> SkewOf(const std::vector<const CStatistics*>& cameras);

private:
    struct SImage {
        Clock::time_point arrival;
        uint64_t timestamp;
    };

    std::vector<SImage> m_images;
};

// Ten bars from the sample's smallest to its largest value, with counts.
void PrintHistogram(std::ostream& out, const std::vector<double>& sample);

} // namespace norveltl
