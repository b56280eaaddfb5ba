#include "Formula.h"

#include "Error.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>
#include <string_view>
#include <type_traits>
#include <vector>

namespace norveltl {

namespace {

// Deeper than any sound formula.
constexpr unsigned kMaxDepth = 200;

template <class T>
constexpr bool kIsWhole = std::is_integral_v<T>;

int64_t Whole(double value) {
    constexpr double kLimit = 9223372036854775808.0; // 2^63
    if (!(value >= -kLimit && value < kLimit)) {
        throw CToolError("a value of the formula is beyond 64 bits");
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
        throw CToolError("the formula divides by zero");
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
        throw CToolError("the formula divides by zero");
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
        throw CToolError("the formula shifts by " + std::to_string(count) + " places");
    }
    const int64_t bits = Whole(value);
    return static_cast<T>(left ? static_cast<int64_t>(static_cast<uint64_t>(bits) << count)
                               : bits >> count);
}

// The symbols of binary operators by rising precedence.
using Level = std::vector<std::string_view>;
const std::array<Level, 10>& Levels() {
    static const auto& levels = *new std::array<Level, 10>{{{"||"},
                                                            {"&&"},
                                                            {"|"},
                                                            {"^"},
                                                            {"&"},
                                                            {"=", "<>"},
                                                            {"<=", ">=", "<", ">"},
                                                            {"<<", ">>"},
                                                            {"+", "-"},
                                                            {"*", "/", "%"}}};
    return levels;
}

template <class T>
class CEvaluator {
public:
    CEvaluator(std::string_view text, const Variables<T>& variables)
        : m_text(text), m_variables(variables) {}

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
        throw CToolError("the formula is not understood at \"" + std::string(m_text) + "\"");
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

    // Every way down leads through here.
    T Conditional() {
        if (++m_depth > kMaxDepth) {
            throw CToolError("the formula is nested too deeply");
        }
        T value = Binary(0);
        if (Accept("?")) {
            const T yes = Conditional();
            Expect(":");
            const T no = Conditional();
            value = value != T{0} ? yes : no;
        }
        --m_depth;
        return value;
    }

    // The operator of this level that comes next, not the beginning of a longer one.
    std::string_view NextOperator(const Level& level) {
        SkipBlanks();
        constexpr std::array<std::string_view, 8> kLonger = {
            "||", "&&", "<>", "<=", ">=", "<<", ">>", "**"};
        const auto longer = std::find_if(kLonger.begin(), kLonger.end(), [this](auto symbol) {
            return m_text.starts_with(symbol);
        });
        const auto found = std::find_if(level.begin(), level.end(), [&](auto symbol) {
            return longer != kLonger.end() ? symbol == *longer : m_text.starts_with(symbol);
        });
        if (found == level.end()) {
            return {};
        }
        m_text.remove_prefix(found->size());
        return *found;
    }

    T Binary(size_t level) {
        if (level == Levels().size()) {
            return Unary();
        }
        T value = Binary(level + 1);
        for (;;) {
            const std::string_view symbol = NextOperator(Levels()[level]);
            if (symbol.empty()) {
                return value;
            }
            value = Apply(symbol, value, Binary(level + 1));
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
        if (++m_depth > kMaxDepth) {
            throw CToolError("the formula is nested too deeply");
        }
        T value{};
        if (Accept("-")) {
            value = Wrapped(T{0}, Unary(), std::minus());
        } else if (Accept("+")) {
            value = Unary();
        } else if (Accept("~")) {
            value = static_cast<T>(~Whole(Unary()));
        } else {
            value = Raised();
        }
        --m_depth;
        return value;
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
        throw CToolError("the formula's function " + name + " is not known with " +
                         std::to_string(arguments.size()) + " arguments");
    }

    static T Result(double value) {
        if (std::isnan(value)) {
            throw CToolError("the formula has no value");
        }
        if constexpr (kIsWhole<T>) {
            return Whole(value);
        } else {
            return value;
        }
    }

    std::string_view m_text;
    const Variables<T>& m_variables;
    unsigned m_depth = 0;
};

} // namespace

int64_t EvaluateInteger(const std::string& formula, const Variables<int64_t>& variables) {
    return CEvaluator<int64_t>(formula, variables).Evaluate();
}

double EvaluateFloat(const std::string& formula, const Variables<double>& variables) {
    return CEvaluator<double>(formula, variables).Evaluate();
}

} // namespace norveltl
