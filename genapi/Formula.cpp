#include "genapi/Formula.h"

#include "genapi/Error.h"
#include "genapi/Level.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <iterator>
#include <numbers>
#include <string_view>
#include <type_traits>
#include <vector>

namespace GenApi {

namespace {

// Deeper than any sound formula and all that it refers to.
constexpr unsigned kMaxFormulaDepth = 400;

template <class T>
constexpr bool kIsWhole = std::is_integral_v<T>;

int64_t Whole(double value) {
    constexpr double kLimit = 9223372036854775808.0; // 2^63
    if (!(value >= -kLimit && value < kLimit)) {
        throw CError("a value of the formula is beyond 64 bits");
    }
    return static_cast<int64_t>(value);
}

int64_t Whole(int64_t value) {
    return value;
}

// Whole numbers wrap around like those of the descriptions' other readers.
template <class T, class O>
T Wrapped(T left, T right, O operation) {
    if constexpr (kIsWhole<T>) {
        return static_cast<T>(operation(static_cast<uint64_t>(left), static_cast<uint64_t>(right)));
    } else {
        return operation(left, right);
    }
}

template <class T>
T Divide(T left, T right) {
    if (right == T{0}) {
        throw CError("the formula divides by zero");
    }
    if constexpr (kIsWhole<T>) {
        return right == -1 ? Wrapped(T{0}, left, std::minus()) : left / right;
    } else {
        return left / right;
    }
}

template <class T>
T Remainder(T left, T right) {
    if (right == T{0}) {
        throw CError("the formula divides by zero");
    }
    if constexpr (kIsWhole<T>) {
        return right == -1 ? 0 : left % right;
    } else {
        return std::fmod(left, right);
    }
}

template <class T>
T Power(T base, T exponent) {
    const double power = std::pow(static_cast<double>(base), static_cast<double>(exponent));
    if constexpr (kIsWhole<T>) {
        return Whole(power);
    } else {
        return power;
    }
}

template <class T>
T Shift(T value, T places, bool left) {
    const int64_t count = Whole(places);
    if (count < 0 || count > 63) {
        throw CError("the formula shifts by " + std::to_string(count) + " places");
    }
    const int64_t bits = Whole(value);
    return static_cast<T>(left ? static_cast<int64_t>(static_cast<uint64_t>(bits) << count)
                               : bits >> count);
}

// A binary operator and how tightly it binds. Where one begins another, the longer stands first.
struct SOperator {
    std::string_view symbol;
    unsigned precedence;
};
constexpr SOperator kOperators[] = {{"||", 1}, {"&&", 2}, {"<>", 6}, {"<=", 7}, {">=", 7},
                                    {"<<", 8}, {">>", 8}, {"|", 3},  {"^", 4},  {"&", 5},
                                    {"=", 6},  {"<", 7},  {">", 7},  {"+", 9},  {"-", 9},
                                    {"*", 10}, {"/", 10}, {"%", 10}};

template <class T>
class CEvaluator {
public:
    CEvaluator(std::string_view text, const Variables<T>& variables, unsigned& depth)
        : m_text(text), m_variables(variables), m_depth(depth) {}

    T Evaluate() {
        const T value = Conditional();
        SkipBlanks();
        if (!m_text.empty()) {
            Fail();
        }
        return value;
    }

private:
    [[noreturn]] void Fail() const {
        throw CError("the formula is not understood at \"" + std::string(m_text) + "\"");
    }

    void SkipBlanks() {
        while (!m_text.empty() && std::isspace(static_cast<unsigned char>(m_text.front())) != 0) {
            m_text.remove_prefix(1);
        }
    }

    bool Accept(std::string_view symbol) {
        SkipBlanks();
        if (!m_text.starts_with(symbol)) {
            return false;
        }
        m_text.remove_prefix(symbol.size());
        return true;
    }

    void Expect(std::string_view symbol) {
        if (!Accept(symbol)) {
            Fail();
        }
    }

    void CheckDepth() const {
        if (m_depth > kMaxFormulaDepth) {
            throw CError("the formula is nested too deeply");
        }
    }

    T Conditional() {
        const CLevel level(m_depth);
        CheckDepth();
        T value = Binary(0);
        if (Accept("?")) {
            const T yes = Conditional();
            Expect(":");
            const T no = Conditional();
            value = value != T{0} ? yes : no;
        }
        return value;
    }

    // Takes the operators that bind more tightly than the one before.
    T Binary(unsigned precedence) {
        T value = Unary();
        for (;;) {
            SkipBlanks();
            const auto* const found = std::find_if(
                std::begin(kOperators), std::end(kOperators),
                [this](const auto& known) { return m_text.starts_with(known.symbol); });
            if (found == std::end(kOperators) || found->precedence <= precedence) {
                return value;
            }
            m_text.remove_prefix(found->symbol.size());
            value = Apply(found->symbol, value, Binary(found->precedence));
        }
    }

    static T Apply(std::string_view symbol, T left, T right) {
        if (symbol == "||") {
            return T(left != T{0} || right != T{0});
        }
        if (symbol == "&&") {
            return T(left != T{0} && right != T{0});
        }
        if (symbol == "|") {
            return static_cast<T>(Whole(left) | Whole(right));
        }
        if (symbol == "^") {
            return static_cast<T>(Whole(left) ^ Whole(right));
        }
        if (symbol == "&") {
            return static_cast<T>(Whole(left) & Whole(right));
        }
        if (symbol == "=") {
            return T(left == right);
        }
        if (symbol == "<>") {
            return T(left != right);
        }
        if (symbol == "<=") {
            return T(left <= right);
        }
        if (symbol == ">=") {
            return T(left >= right);
        }
        if (symbol == "<") {
            return T(left < right);
        }
        if (symbol == ">") {
            return T(left > right);
        }
        if (symbol == "<<" || symbol == ">>") {
            return Shift(left, right, symbol == "<<");
        }
        if (symbol == "+") {
            return Wrapped(left, right, std::plus());
        }
        if (symbol == "-") {
            return Wrapped(left, right, std::minus());
        }
        if (symbol == "*") {
            return Wrapped(left, right, std::multiplies());
        }
        return symbol == "/" ? Divide(left, right) : Remainder(left, right);
    }

    T Unary() {
        const CLevel level(m_depth);
        CheckDepth();
        if (Accept("-")) {
            return Wrapped(T{0}, Unary(), std::minus());
        }
        if (Accept("+")) {
            return Unary();
        }
        if (Accept("~")) {
            return static_cast<T>(~Whole(Unary()));
        }
        return Raised();
    }

    // Binds more tightly than the sign before it, and to the right.
    T Raised() {
        const T base = Primary();
        return Accept("**") ? Power(base, Unary()) : base;
    }

    T Primary() {
        if (Accept("(")) {
            const T value = Conditional();
            Expect(")");
            return value;
        }
        SkipBlanks();
        if (m_text.empty()) {
            Fail();
        }
        const auto first = static_cast<unsigned char>(m_text.front());
        if (std::isdigit(first) != 0 || first == '.') {
            return Number();
        }
        if (std::isalpha(first) != 0 || first == '_') {
            return Named();
        }
        Fail();
    }

    T Number() {
        const char* const end = m_text.data() + m_text.size();
        std::from_chars_result result{};
        T value{};
        if (m_text.starts_with("0x") || m_text.starts_with("0X")) {
            uint64_t bits = 0;
            result = std::from_chars(m_text.data() + 2, end, bits, 16);
            value = static_cast<T>(static_cast<int64_t>(bits));
        } else {
            result = std::from_chars(m_text.data(), end, value);
        }
        if (result.ec != std::errc()) {
            Fail();
        }
        m_text.remove_prefix(static_cast<size_t>(result.ptr - m_text.data()));
        return value;
    }

    T Named() {
        size_t length = 0;
        while (length < m_text.size() &&
               (std::isalnum(static_cast<unsigned char>(m_text[length])) != 0 ||
                m_text[length] == '_' || m_text[length] == '.')) {
            ++length;
        }
        const std::string name(m_text.substr(0, length));
        m_text.remove_prefix(length);
        if (!Accept("(")) {
            return Constant(name);
        }
        std::vector<double> arguments;
        do {
            arguments.push_back(static_cast<double>(Conditional()));
        } while (Accept(","));
        Expect(")");
        return Function(name, arguments);
    }

    T Constant(const std::string& name) const {
        if constexpr (!kIsWhole<T>) {
            if (name == "PI") {
                return std::numbers::pi;
            }
            if (name == "E") {
                return std::numbers::e;
            }
        }
        return m_variables(name);
    }

    static T Function(const std::string& name, const std::vector<double>& arguments) {
        const double x = arguments.front();
        if (name == "ROUND" && arguments.size() == 2) {
            const double scale = std::pow(10.0, arguments[1]);
            return Result(std::round(x * scale) / scale);
        }
        struct SKnown {
            const char* name;
            double (*call)(double);
        };
        static constexpr SKnown kKnown[] = {
            {"SGN", [](double v) { return static_cast<double>((v > 0) - (v < 0)); }},
            {"NEG", [](double v) { return -v; }},
            {"ABS", [](double v) { return std::abs(v); }},
            {"EXP", [](double v) { return std::exp(v); }},
            {"LN", [](double v) { return std::log(v); }},
            {"LG", [](double v) { return std::log10(v); }},
            {"SQRT", [](double v) { return std::sqrt(v); }},
            {"TRUNC", [](double v) { return std::trunc(v); }},
            {"FLOOR", [](double v) { return std::floor(v); }},
            {"CEIL", [](double v) { return std::ceil(v); }},
            {"ROUND", [](double v) { return std::round(v); }},
            {"SIN", [](double v) { return std::sin(v); }},
            {"COS", [](double v) { return std::cos(v); }},
            {"TAN", [](double v) { return std::tan(v); }},
            {"ASIN", [](double v) { return std::asin(v); }},
            {"ACOS", [](double v) { return std::acos(v); }},
            {"ATAN", [](double v) { return std::atan(v); }},
        };
        if (arguments.size() == 1) {
            for (const SKnown& known : kKnown) {
                if (name == known.name) {
                    return Result(known.call(x));
                }
            }
        }
        throw CError("the formula's function " + name + " is not known with " +
                     std::to_string(arguments.size()) + " arguments");
    }

    static T Result(double value) {
        if (std::isnan(value)) {
            throw CError("the formula has no value");
        }
        if constexpr (kIsWhole<T>) {
            return Whole(value);
        } else {
            return value;
        }
    }

    std::string_view m_text;
    const Variables<T>& m_variables;
    unsigned& m_depth;
};

} // namespace

int64_t EvaluateInteger(const std::string& formula, const Variables<int64_t>& variables,
                        unsigned& depth) {
    return CEvaluator<int64_t>(formula, variables, depth).Evaluate();
}

double EvaluateFloat(const std::string& formula, const Variables<double>& variables,
                     unsigned& depth) {
    return CEvaluator<double>(formula, variables, depth).Evaluate();
}

} // namespace GenApi
