// What checks of a producer found: each passed, deviates from the standard, or failed.
#pragma once

#include "producers/Producer.h"

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace norveltl {

enum class EVerdict { Passed, Deviates, Failed };

const char* VerdictText(EVerdict verdict);

struct SFinding {
    EVerdict verdict;
    std::string subject;  // a camera, or empty
    std::string function; // the one that is judged
    std::string check;
    std::string answer;
    std::string expected;
    bool isKnown = false; // a deviation that the producer's maker keeps on purpose
};

class CJudgement {
public:
    // Of NorvelTL's first module deviations are known.
    explicit CJudgement(bool hasKnown) : m_hasKnown(hasKnown) {}

    // The camera that the next checks are about.
    void SetSubject(const std::string& subject) { m_subject = subject; }

    // Calls the function: it deviates unless its code is one of those that the standard has for the
    // case. A function that is missing is not judged again.
    template <class P, class... A>
    void Expect(const std::string& check, const std::vector<GC_ERROR>& expected,
                const std::string& rule, const SFunction<P>& function, A... arguments) {
        if (!function.IsMissing()) {
            Compare(function.name, check, function(arguments...), expected, rule);
        }
    }
    // The same of a code that was answered before.
    void Compare(const char* function, const std::string& check, GC_ERROR code,
                 const std::vector<GC_ERROR>& expected, const std::string& rule,
                 const std::string& remark = {});
    // Deviates unless it holds.
    void Want(const char* function, const std::string& check, bool holds,
              const std::string& expected, const std::string& answer);
    // Fails unless it holds.
    void Require(const char* function, const std::string& check, bool holds,
                 const std::string& answer = {});
    // Fails with the text of what the work throws.
    template <class W>
    void Attempt(const char* function, const std::string& check, W work) {
        try {
            work();
            Require(function, check, true);
        } catch (const std::runtime_error& error) {
            Require(function, check, false, error.what());
        }
    }

    const std::vector<SFinding>& Findings() const { return m_findings; }
    size_t Count(EVerdict verdict) const;
    // Why known deviations are as they are.
    const std::set<std::string>& Explanations() const { return m_explanations; }

private:
    bool m_hasKnown;
    std::string m_subject;
    std::vector<SFinding> m_findings;
    std::set<std::string> m_explanations;
};

} // namespace norveltl
