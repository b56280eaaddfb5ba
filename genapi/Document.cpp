#include "genapi/Document.h"

#include "genapi/Error.h"
#include "genapi/Text.h"

#include <boost/property_tree/xml_parser.hpp>

#include <algorithm>
#include <sstream>
#include <string_view>

namespace GenApi {

namespace {

// The parser calls itself for an element within another one, and keeps objects of a few hundred
// bytes for each element and attribute.
constexpr size_t kMaxNested = 100;
constexpr size_t kMaxParts = 500'000;

// Goes over the markup as the parser will, only counting. Where the two might disagree, it stops.
class CCounter {
public:
    explicit CCounter(std::string_view xml) : m_xml(xml) {}

    // How much of the text is sound; the rest begins within a tag that never ends.
    size_t SoundLength() {
        while ((m_at = m_xml.find('<', m_at)) != std::string_view::npos) {
            if (!SkipOther() && !SkipTag()) {
                return std::min(m_at, m_xml.size());
            }
            if (m_nested > kMaxNested) {
                throw CError("the camera's XML is nested too deeply");
            }
            if (m_numParts > kMaxParts) {
                throw CError("the camera's XML has too many elements");
            }
        }
        return m_xml.size();
    }

private:
    bool Skip(std::string_view open, std::string_view close) {
        if (!m_xml.substr(m_at).starts_with(open)) {
            return false;
        }
        m_at = m_xml.find(close, m_at + open.size());
        return true;
    }

    // What neither begins nor ends an element.
    bool SkipOther() {
        if (Skip("<!--", "-->") || Skip("<![CDATA[", "]]>") || Skip("<?", "?>")) {
            return true;
        }
        if (!m_xml.substr(m_at).starts_with("<!")) {
            return false;
        }
        m_at = m_xml.find_first_of("[>", m_at);
        return m_at == std::string_view::npos || m_xml[m_at] == '>';
    }

    bool SkipTag() {
        if (Skip("</", ">")) {
            m_nested -= m_nested > 0 ? 1 : 0;
            return true;
        }
        ++m_at;
        if (!SkipName()) {
            return false;
        }
        for (SkipBlanks(); Next() != '>'; SkipBlanks()) {
            if (Next() == '/') {
                ++m_at;
                return Next() == '>';
            }
            if (!SkipAttribute()) {
                return false;
            }
        }
        ++m_nested;
        return true;
    }

    bool SkipAttribute() {
        if (!SkipName()) {
            return false;
        }
        SkipBlanks();
        if (Next() != '=') {
            return false;
        }
        ++m_at;
        SkipBlanks();
        const char quote = Next();
        if (quote != '"' && quote != '\'') {
            return false;
        }
        const size_t end = m_xml.find(quote, m_at + 1);
        m_at = end == std::string_view::npos ? m_xml.size() : end + 1;
        return end != std::string_view::npos;
    }

    bool SkipName() {
        const size_t begin = m_at;
        m_at = std::min(m_xml.find_first_of(" \t\r\n/<>=?!\"'", m_at), m_xml.size());
        ++m_numParts;
        return m_at > begin;
    }

    void SkipBlanks() { m_at = std::min(m_xml.find_first_not_of(kBlanks, m_at), m_xml.size()); }
    char Next() const { return m_at < m_xml.size() ? m_xml[m_at] : '\0'; }

    std::string_view m_xml;
    size_t m_at = 0;
    size_t m_nested = 0;
    size_t m_numParts = 0;
};

} // namespace

Tree ParseXml(const std::string& xml) {
    std::istringstream text(xml.substr(0, CCounter(xml).SoundLength()));
    Tree document;
    try {
        boost::property_tree::read_xml(text, document,
                                       boost::property_tree::xml_parser::no_comments);
    } catch (const boost::property_tree::xml_parser_error& error) {
        throw CError("the camera's XML is malformed in line " + std::to_string(error.line()) +
                     ": " + error.message());
    }
    return document;
}

} // namespace GenApi
