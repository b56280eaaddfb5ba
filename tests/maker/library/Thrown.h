// What the library throws, and the count of all that must be destroyed again.
#pragma once

#include "Maker.h"
#include "Platform.h"

namespace Maker {

void CountMade(MakerKind kind);
void CountGone(MakerKind kind);

// Counts its own instances.
template <MakerKind KIND>
class CCounted {
public:
    CCounted() { CountMade(KIND); }
    CCounted(const CCounted&) { CountMade(KIND); }
    CCounted& operator=(const CCounted&) = default;
    ~CCounted() { CountGone(KIND); }
};
using CLocal = CCounted<MAKER_LOCALS>;

// Never returns, unless the mishap is MAKER_ANSWERS.
void Suffer(MakerMishap mishap);

} // namespace Maker
