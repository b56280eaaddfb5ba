// The formulas of descriptions: arithmetic, comparisons, logic, bit operations, the conditional
// and the usual functions, over whole numbers or floating-point numbers. Knows no nodes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace GenApi {

// The value of a variable; throws when there is none of that name.
template <class T>
using Variables = std::function<T(const std::string& name)>;

// Both throw CError where the formula is not understood, divides by zero, has no value, or is
// nested too deeply. The depth is that of all formulas under way, as a variable may stand for
// another one; it begins at 0.
int64_t EvaluateInteger(const std::string& formula, const Variables<int64_t>& variables,
                        unsigned& depth);
double EvaluateFloat(const std::string& formula, const Variables<double>& variables,
                     unsigned& depth);

} // namespace GenApi
