// Formulas by themselves, over whole numbers and over floating-point numbers.
#include "Fixture.h"

#include "genapi/Formula.h"

#include <cmath>
#include <limits>

namespace {

template <class T>
T Known(const std::string& name) {
    if (name == "A") {
        return 7;
    }
    if (name == "B_1.Max") {
        return -2;
    }
    throw GenApi::CError("there is no " + name);
}

int64_t Whole(const std::string& formula) {
    unsigned depth = 0;
    const int64_t value = GenApi::EvaluateInteger(formula, Known<int64_t>, depth);
    EXPECT_EQ(depth, 0U);
    return value;
}

double Real(const std::string& formula) {
    unsigned depth = 0;
    return GenApi::EvaluateFloat(formula, Known<double>, depth);
}

std::string FormulaRefusal(const std::string& formula) {
    return ErrorOf([&] { Whole(formula); });
}

TEST(FormulaTest, Numbers) {
    EXPECT_EQ(Whole("42"), 42);
    EXPECT_EQ(Whole(" 0x2a "), 42);
    EXPECT_EQ(Whole("0X2A"), 42);
    EXPECT_EQ(Whole("0xFFFFFFFFFFFFFFFF"), -1);
    EXPECT_EQ(Whole("9223372036854775807"), std::numeric_limits<int64_t>::max());
    EXPECT_DOUBLE_EQ(Real("2.5e-1"), 0.25);
    EXPECT_DOUBLE_EQ(Real(".5"), 0.5);
    EXPECT_DOUBLE_EQ(Real("0x10"), 16.0);
}

TEST(FormulaTest, OperatorsBindLikeThis) {
    EXPECT_EQ(Whole("1 + 2 * 3"), 7);
    EXPECT_EQ(Whole("(1 + 2) * 3"), 9);
    EXPECT_EQ(Whole("10 - 4 - 3"), 3);
    EXPECT_EQ(Whole("100 / 5 / 2"), 10);
    EXPECT_EQ(Whole("7 % 4 * 2"), 6);
    EXPECT_EQ(Whole("2 ** 3 ** 2"), 512);
    EXPECT_EQ(Whole("-2 ** 2"), -4);
    EXPECT_EQ(Whole("2 * 3 ** 2"), 18);
    EXPECT_EQ(Whole("1 << 2 + 1"), 8);
    EXPECT_EQ(Whole("1 << 4 >> 2"), 4);
    EXPECT_EQ(Whole("3 < 1 << 2"), 1);
    EXPECT_EQ(Whole("1 < 2 = 1"), 1);
    EXPECT_EQ(Whole("6 & 3 = 3"), 0);
    EXPECT_EQ(Whole("1 | 6 & 4"), 5);
    EXPECT_EQ(Whole("1 | 3 ^ 2"), 1);
    EXPECT_EQ(Whole("6 ^ 3 & 1"), 7);
    EXPECT_EQ(Whole("1 || 0 && 0"), 1);
    EXPECT_EQ(Whole("0 && 1 | 1"), 0);
    EXPECT_EQ(Whole("- - 3"), 3);
    EXPECT_EQ(Whole("+3-+-2"), 5);
    EXPECT_EQ(Whole("~0xF & 0xFF"), 0xF0);
}

TEST(FormulaTest, ComparisonsAreOneOrZero) {
    EXPECT_EQ(Whole("(1 = 1) + (1 <> 1) * 10"), 1);
    EXPECT_EQ(Whole("(1 <= 1) + (2 >= 3) * 10"), 1);
    EXPECT_EQ(Whole("(1 > 1) + (2 < 3) * 10"), 10);
    EXPECT_DOUBLE_EQ(Real("(0.5 < 0.25) + 2 * (0.5 >= 0.5)"), 2.0);
}

TEST(FormulaTest, TheConditional) {
    EXPECT_EQ(Whole("A = 7 ? 1 : 2"), 1);
    EXPECT_EQ(Whole("A = 6 ? 1 : A = 7 ? 2 : 3"), 2);
    EXPECT_EQ(Whole("(A > 9 ? 1 : 2) + 1"), 3);
    EXPECT_EQ(FormulaRefusal("1 ? 2"), "the formula is not understood at \"\"");
}

TEST(FormulaTest, VariablesAndConstants) {
    EXPECT_EQ(Whole("A * B_1.Max"), -14);
    EXPECT_DOUBLE_EQ(Real("A / 2"), 3.5);
    EXPECT_NEAR(Real("PI"), 3.14159265358979, 1e-14);
    EXPECT_NEAR(Real("E"), 2.71828182845905, 1e-14);
    EXPECT_EQ(FormulaRefusal("PI"), "there is no PI");
    EXPECT_EQ(FormulaRefusal("C + 1"), "there is no C");
}

TEST(FormulaTest, Functions) {
    EXPECT_EQ(Whole("ABS(-3) + SGN(-5) + NEG(2)"), 0);
    EXPECT_EQ(Whole("SQRT(16) + TRUNC(2)"), 6);
    EXPECT_DOUBLE_EQ(Real("TRUNC(-1.5) + FLOOR(-1.5) + CEIL(-1.5)"), -4.0);
    EXPECT_DOUBLE_EQ(Real("ROUND(2.5)"), 3.0);
    EXPECT_DOUBLE_EQ(Real("ROUND(3.14159, 2)"), 3.14);
    EXPECT_DOUBLE_EQ(Real("LN(EXP(2)) + LG(1000)"), 5.0);
    EXPECT_NEAR(Real("SIN(PI / 2) + COS(0) + TAN(0)"), 2.0, 1e-12);
    EXPECT_NEAR(Real("ASIN(1) + ACOS(1) + ATAN(0)"), std::acos(0.0), 1e-12);
    EXPECT_EQ(FormulaRefusal("SINH(1)"),
              "the formula's function SINH is not known with 1 arguments");
    EXPECT_EQ(FormulaRefusal("ABS(1, 2)"),
              "the formula's function ABS is not known with 2 arguments");
}

TEST(FormulaTest, WholeNumbersWrapAround) {
    EXPECT_EQ(Whole("0x7FFFFFFFFFFFFFFF + 1"), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(Whole("-0x8000000000000000"), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(Whole("0x8000000000000000 / -1"), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(Whole("0x8000000000000000 % -1"), 0);
    EXPECT_EQ(Whole("0x4000000000000000 * 4"), 0);
    EXPECT_EQ(Whole("1 << 63"), std::numeric_limits<int64_t>::min());
}

TEST(FormulaTest, WhatHasNoValue) {
    EXPECT_EQ(FormulaRefusal("1 / 0"), "the formula divides by zero");
    EXPECT_EQ(FormulaRefusal("1 % 0"), "the formula divides by zero");
    EXPECT_EQ(ErrorOf([] { Real("1 / 0"); }), "the formula divides by zero");
    EXPECT_EQ(FormulaRefusal("SQRT(-1)"), "the formula has no value");
    EXPECT_EQ(ErrorOf([] { Real("LN(-1)"); }), "the formula has no value");
    EXPECT_EQ(FormulaRefusal("1 << 64"), "the formula shifts by 64 places");
    EXPECT_EQ(FormulaRefusal("1 >> -1"), "the formula shifts by -1 places");
    EXPECT_EQ(FormulaRefusal("10 ** 19"), "a value of the formula is beyond 64 bits");
    EXPECT_EQ(ErrorOf([] { Real("1e300 & 1"); }), "a value of the formula is beyond 64 bits");
}

TEST(FormulaTest, WhatIsNotUnderstood) {
    EXPECT_EQ(FormulaRefusal(""), "the formula is not understood at \"\"");
    EXPECT_EQ(FormulaRefusal("1 +"), "the formula is not understood at \"\"");
    EXPECT_EQ(FormulaRefusal("1 2"), "the formula is not understood at \"2\"");
    EXPECT_EQ(FormulaRefusal("(1"), "the formula is not understood at \"\"");
    EXPECT_EQ(FormulaRefusal("1)"), "the formula is not understood at \")\"");
    EXPECT_EQ(FormulaRefusal("A == 7"), "the formula is not understood at \"= 7\"");
    EXPECT_EQ(FormulaRefusal("1 !"), "the formula is not understood at \"!\"");
    EXPECT_EQ(FormulaRefusal("1.5"), "the formula is not understood at \".5\"");
    EXPECT_EQ(FormulaRefusal("0xG"), "the formula is not understood at \"0xG\"");
    EXPECT_EQ(FormulaRefusal("9223372036854775808"),
              "the formula is not understood at \"9223372036854775808\"");
}

TEST(FormulaTest, NestingEndsBeforeTheStackDoes) {
    EXPECT_EQ(Whole(Repeated("(", 150) + "5" + Repeated(")", 150)), 5);
    for (const char* part : {"(", "-", "~", "1?", "2**", "ABS(", "1+(", "1?2:"}) {
        EXPECT_EQ(FormulaRefusal(Repeated(part, 1'000'000)), "the formula is nested too deeply")
            << part;
    }
    EXPECT_EQ(Whole("1" + Repeated("+1", 100'000)), 100'001);
}

TEST(FormulaTest, FormulasOfVariablesCountAsNested) {
    unsigned depth = 0;
    const GenApi::Variables<int64_t> again = [&](const std::string& name) {
        return GenApi::EvaluateInteger("(" + name + ")", again, depth);
    };
    EXPECT_EQ(ErrorOf([&] { GenApi::EvaluateInteger("A", again, depth); }),
              "the formula is nested too deeply");
    EXPECT_EQ(depth, 0U);
}

} // namespace
