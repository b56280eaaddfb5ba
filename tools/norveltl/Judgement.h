// What checks of a producer found: each passed, deviates from the standard, or failed.
#pragma once

#include "Error.h"

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace norveltl {

enum class EVerdict { Passed, Deviates, Failed };

const char* VerdictText(EVerdict verdict);

struct SFinding {
    EVerdict verdict;
    std::string subject; // a camera, or empty
    std::string check;
    std::string answer;
    std::string expected;
    bool isKnown = false; // a deviation that the producer's maker keeps on purpose
};

class CJudgement {
public:
    // Of NorvelTL some deviations are known.
    explicit CJudgement(bool isNorvelTL) : m_isNorvelTL(isNorvelTL) {}

    // The camera that the next checks are about.
    void SetSubject(const std::string& subject) { m_subject = subject; }

    // Deviates unless the code is one of those that the standard has for the case.
    void Expect(const std::string& check, GC_ERROR code, const std::vector<GC_ERROR>& expected,
                const std::string& rule);
    void Deviate(const std::string& check, const std::string& expected, const std::string& answer);
    // Fails unless it holds.
    void Require(const std::string& check, bool holds, const std::string& answer = {});
    // Fails with the text of what the work throws.
    template <class W>
    void Attempt(const std::string& check, W work) {
        try {
            work();
            Require(check, true);
        } catch (const std::runtime_error& error) {
            Require(check, false, error.what());
        }
    }

    const std::vector<SFinding>& Findings() const { return m_findings; }
    size_t Count(EVerdict verdict) const;
    // Why known deviations are as they are.
    const std::set<std::string>& Explanations() const { return m_explanations; }

private:
    bool m_isNorvelTL;
    std::string m_subject;
    std::vector<SFinding> m_findings;
    std::set<std::string> m_explanations;
};

} // namespace norveltl
