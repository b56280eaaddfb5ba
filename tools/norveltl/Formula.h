// The formulas of descriptions: arithmetic, comparisons, logic, bit operations, the conditional
// and the usual functions, over whole numbers or floating-point numbers. Knows no nodes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace norveltl {

// The value of a variable; throws when there is none of that name.
template <class T>
using Variables = std::function<T(const std::string& name)>;

// Both throw CToolError where the formula is not understood, divides by zero, or has no value.
int64_t EvaluateInteger(const std::string& formula, const Variables<int64_t>& variables);
double EvaluateFloat(const std::string& formula, const Variables<double>& variables);

} // namespace norveltl
