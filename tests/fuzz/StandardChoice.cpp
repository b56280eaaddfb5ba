// Makes a target that calls the module call the one that answers as the standard says.
#include "Producer.h"

namespace {

[[maybe_unused]] const bool s_isChosen =
    (Producer::Choose("standard/NorvelTL40-standard.cti"), true);

} // namespace
