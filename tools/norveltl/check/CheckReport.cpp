#include "check/CheckReport.h"

#include "files/Image.h"
#include "terminal/Console.h"
#include "terminal/Json.h"
#include "terminal/Table.h"

#include <boost/property_tree/xml_parser.hpp>

#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <sstream>

namespace norveltl {

namespace {

// By function, how many findings of each verdict.
std::map<std::string, std::map<EVerdict, size_t>> ByFunction(const CJudgement& judge) {
    std::map<std::string, std::map<EVerdict, size_t>> functions;
    for (const SFinding& finding : judge.Findings()) {
        ++functions[finding.function][finding.verdict];
    }
    return functions;
}

void PrintSummary(const CJudgement& judge, bool all) {
    CTable table({"function", "passed", "deviate", "failed"});
    bool isEmpty = true;
    for (auto& [function, counts] : ByFunction(judge)) {
        const size_t passed = counts[EVerdict::Passed];
        const size_t deviates = counts[EVerdict::Deviates];
        const size_t failed = counts[EVerdict::Failed];
        if (all || deviates + failed > 0) {
            table.Add({function, std::to_string(passed), std::to_string(deviates),
                       std::to_string(failed)});
            isEmpty = false;
        }
    }
    if (!isEmpty) {
        table.Print(std::cout);
    }
}

std::string FirstLine(const std::string& text) {
    return Printable(text.substr(0, text.find('\n')));
}

} // namespace

// What several cameras have in common stands in one row.
void PrintCheck(const SJudged& judged, bool all) {
    const CJudgement& judge = judged.judgement;
    using Row = std::array<std::string, 4>;
    std::vector<std::pair<Row, std::vector<std::string>>> rows;
    for (const SFinding& finding : judge.Findings()) {
        if (!all && finding.verdict == EVerdict::Passed) {
            continue;
        }
        const Row row{VerdictText(finding.verdict), finding.check, FirstLine(finding.answer),
                      Printable(finding.expected)};
        auto found = std::find_if(rows.begin(), rows.end(),
                                  [&](const auto& known) { return known.first == row; });
        if (found == rows.end()) {
            found = rows.insert(rows.end(), {row, {}});
        }
        found->second.push_back(Printable(finding.subject));
    }
    std::cout << Utf8FromPath(judged.producer) << "\n";
    if (!rows.empty()) {
        CTable table({"", "check", "where", "answer", "the standard"});
        for (const auto& [row, subjects] : rows) {
            std::string where = subjects.front();
            if (subjects.size() > 1) {
                where += " and " + std::to_string(subjects.size() - 1) + " more";
            }
            table.Add({row[0], row[1], where, row[2], row[3]});
        }
        table.Print(std::cout);
    }
    for (const std::string& why : judge.Explanations()) {
        std::cout << "known       " << why << "\n";
    }
    PrintSummary(judge, all);
    std::cout << judge.Count(EVerdict::Passed) << " passed, " << judge.Count(EVerdict::Deviates)
              << " deviate, " << judge.Count(EVerdict::Failed) << " failed" << std::endl;
}

void PrintCheckJson(const SJudged& judged) {
    const CJudgement& judge = judged.judgement;
    Json json{{"producer", Utf8FromPath(judged.producer)},
              {"passed", judge.Count(EVerdict::Passed)},
              {"deviates", judge.Count(EVerdict::Deviates)},
              {"failed", judge.Count(EVerdict::Failed)},
              {"functions", Json::object()},
              {"findings", Json::array()}};
    for (auto& [function, counts] : ByFunction(judge)) {
        json["functions"][function] = {{"passed", counts[EVerdict::Passed]},
                                       {"deviates", counts[EVerdict::Deviates]},
                                       {"failed", counts[EVerdict::Failed]}};
    }
    for (const SFinding& finding : judge.Findings()) {
        json["findings"].push_back({{"verdict", VerdictText(finding.verdict)},
                                    {"where", finding.subject},
                                    {"function", finding.function},
                                    {"check", finding.check},
                                    {"answer", finding.answer},
                                    {"standard", finding.expected},
                                    {"known", finding.isKnown}});
    }
    std::cout << ToText(json) << std::endl;
}

void WriteJUnit(const std::filesystem::path& file, const std::vector<SJudged>& producers) {
    using Tree = boost::property_tree::ptree;
    Tree suites;
    for (const SJudged& judged : producers) {
        const CJudgement& judge = judged.judgement;
        Tree suite;
        suite.put("<xmlattr>.name", Printable(Utf8FromPath(judged.producer)));
        suite.put("<xmlattr>.tests", judge.Findings().size());
        suite.put("<xmlattr>.failures", judge.Count(EVerdict::Deviates));
        suite.put("<xmlattr>.errors", judge.Count(EVerdict::Failed));
        for (const SFinding& finding : judge.Findings()) {
            const std::string where =
                finding.subject.empty() ? "" : " (" + Printable(finding.subject) + ")";
            Tree test;
            test.put("<xmlattr>.classname", finding.function);
            test.put("<xmlattr>.name", Printable(finding.check) + where);
            if (finding.verdict != EVerdict::Passed) {
                Tree& why = test.add(finding.verdict == EVerdict::Failed ? "error" : "failure",
                                     "expected: " + Printable(finding.expected));
                why.put("<xmlattr>.type", finding.isKnown                       ? "known deviation"
                                          : finding.verdict == EVerdict::Failed ? "failed"
                                                                                : "deviation");
                why.put("<xmlattr>.message", FirstLine(finding.answer));
            }
            suite.add_child("testcase", test);
        }
        suites.add_child("testsuite", suite);
    }
    Tree document;
    document.add_child("testsuites", suites);
    std::ostringstream text;
    boost::property_tree::write_xml(text, document,
                                    boost::property_tree::xml_writer_settings<std::string>(' ', 1));
    const std::string bytes = text.str();
    WriteRaw(file, {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
}

} // namespace norveltl
