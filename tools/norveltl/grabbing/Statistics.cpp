#include "grabbing/Statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <ostream>
#include <string>

namespace norveltl {

namespace {

constexpr size_t kNumBars = 10;
constexpr double kBarWidth = 40;

double Milliseconds(CStatistics::Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

} // namespace

std::optional<SSpread> SpreadOf(std::vector<double> sample) {
    if (sample.empty()) {
        return std::nullopt;
    }
    std::sort(sample.begin(), sample.end());
    const auto percentile = [&](double share) {
        const double index = share * static_cast<double>(sample.size() - 1);
        return sample[static_cast<size_t>(std::lround(index))];
    };
    const double sum = std::accumulate(sample.begin(), sample.end(), 0.0);
    return SSpread{sample.front(),
                   percentile(0.5),
                   percentile(0.9),
                   percentile(0.99),
                   percentile(0.999),
                   sample.back(),
                   sum / static_cast<double>(sample.size())};
}

std::vector<double> CStatistics::Intervals() const {
    std::vector<double> intervals;
    for (size_t i = 1; i < m_images.size(); ++i) {
        intervals.push_back(Milliseconds(m_images[i].arrival - m_images[i - 1].arrival));
    }
    return intervals;
}

std::vector<double> CStatistics::Delays() const {
    if (m_images.size() < 2) {
        return {};
    }
    const SImage& first = m_images.front();
    const SImage& last = m_images.back();
    const double elapsed = Milliseconds(last.arrival - first.arrival);
    if (first.timestamp == 0 || last.timestamp <= first.timestamp || elapsed <= 0) {
        return {};
    }
    const double perTick = elapsed / static_cast<double>(last.timestamp - first.timestamp);
    std::vector<double> delays;
    for (const SImage& image : m_images) {
        const double ticks =
            static_cast<double>(static_cast<int64_t>(image.timestamp - first.timestamp));
        delays.push_back(Milliseconds(image.arrival - first.arrival) - ticks * perTick);
    }
    const double least = *std::min_element(delays.begin(), delays.end());
    for (double& delay : delays) {
        delay -= least;
    }
    return delays;
}

std::vector<double> CStatistics::SkewOf(const std::vector<const CStatistics*>& cameras) {
    size_t count = cameras.empty() ? 0 : cameras.front()->m_images.size();
    for (const CStatistics* camera : cameras) {
        count = std::min(count, camera->m_images.size());
    }
    std::vector<double> skew;
    for (size_t i = 0; i < count; ++i) {
        Clock::time_point first = Clock::time_point::max(), last = Clock::time_point::min();
        for (const CStatistics* camera : cameras) {
            first = std::min(first, camera->m_images[i].arrival);
            last = std::max(last, camera->m_images[i].arrival);
        }
        skew.push_back(Milliseconds(last - first));
    }
    return skew;
}

void PrintHistogram(std::ostream& out, const std::vector<double>& sample) {
    if (sample.empty()) {
        return;
    }
    const auto [least, most] = std::minmax_element(sample.begin(), sample.end());
    const double width = std::max((*most - *least) / kNumBars, 1e-6);
    std::array<size_t, kNumBars> counts{};
    for (const double value : sample) {
        ++counts[std::min(static_cast<size_t>((value - *least) / width), kNumBars - 1)];
    }
    const double highest = static_cast<double>(*std::max_element(counts.begin(), counts.end()));
    for (size_t i = 0; i < kNumBars; ++i) {
        std::array<char, 64> label{};
        std::snprintf(label.data(), label.size(), "  %9.3f ms %8zu  ",
                      *least + width * static_cast<double>(i), counts[i]);
        const double share = static_cast<double>(counts[i]) / highest;
        out << label.data() << std::string(static_cast<size_t>(std::lround(share * kBarWidth)), '#')
            << "\n";
    }
}

} // namespace norveltl
