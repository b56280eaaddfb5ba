#include "core/Outcome.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace GenICam::Client {

COutcome::TextBuffer COutcome::Text() const noexcept {
    TextBuffer text{};
    const std::string_view format(m_text);
    const std::size_t place = std::min(format.find('%'), format.size());
    char* end = std::copy_n(format.begin(), place, text.data());
    if (place != format.size()) {
        end = std::to_chars(end, text.data() + text.size(), m_number).ptr;
        const std::string_view rest = format.substr(format.find('d', place) + 1);
        std::copy(rest.begin(), rest.end(), end);
    }
    return text;
}

COutcome COutcome::ToldAs(GC_ERROR code) const noexcept {
    COutcome told = *this;
    told.m_code = code;
    told.m_isTold = true;
    return told;
}

} // namespace GenICam::Client
