// The formulas of a GenApi description: + - * / with their precedence, parentheses, numbers and
// variables. It knows nothing of nodes.
#pragma once

#include <cctype>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

template <typename Number>
class Formula {
public:
    Formula(std::string text, const std::map<std::string, Number>& variables)
        : m_text(std::move(text)), m_variables(variables) {}

    Number Value() {
        const Number value = Sum();
        if (Next() != '\0') {
            Fail("what follows is no formula: " + m_text.substr(m_place));
        }
        return value;
    }

private:
    [[noreturn]] void Fail(const std::string& what) const {
        throw std::runtime_error("formula " + m_text + ": " + what);
    }

    char Next() {
        while (m_place < m_text.size() && std::isspace(Here()) != 0) {
            ++m_place;
        }
        return m_place < m_text.size() ? m_text[m_place] : '\0';
    }
    unsigned char Here() const { return static_cast<unsigned char>(m_text[m_place]); }

    bool Takes(char symbol) {
        const bool isThere = Next() == symbol;
        m_place += isThere ? 1 : 0;
        return isThere;
    }

    Number Sum() {
        Number value = Product();
        for (;;) {
            if (Takes('+')) {
                value += Product();
            } else if (Takes('-')) {
                value -= Product();
            } else {
                return value;
            }
        }
    }

    Number Product() {
        Number value = Factor();
        for (;;) {
            if (Takes('*')) {
                value *= Factor();
            } else if (Takes('/')) {
                value /= Factor();
            } else {
                return value;
            }
        }
    }

    Number Factor() {
        if (Takes('-')) {
            return -Factor();
        }
        if (Takes('(')) {
            const Number value = Sum();
            if (!Takes(')')) {
                Fail("a parenthesis is not closed");
            }
            return value;
        }
        Next();
        const size_t start = m_place;
        while (m_place < m_text.size() &&
               (std::isalnum(Here()) != 0 || m_text[m_place] == '.' || m_text[m_place] == '_')) {
            ++m_place;
        }
        return Operand(m_text.substr(start, m_place - start));
    }

    Number Operand(const std::string& word) const {
        if (const auto variable = m_variables.find(word); variable != m_variables.end()) {
            return variable->second;
        }
        if (word.empty() || std::isdigit(static_cast<unsigned char>(word.front())) == 0) {
            Fail("no operand: '" + word + "'");
        }
        return static_cast<Number>(std::stod(word));
    }

    const std::string m_text;
    const std::map<std::string, Number>& m_variables;
    size_t m_place = 0;
};
