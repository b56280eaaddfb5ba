#include "genapi/Zip.h"

#include "genapi/Error.h"
#include "genapi/Text.h"

#include <zlib.h>

#include <cstdint>

namespace GenApi {

namespace {

constexpr std::string_view kFileMark("PK\x03\x04", 4);
constexpr std::string_view kEntryMark("PK\x01\x02", 4);
constexpr std::string_view kEndMark("PK\x05\x06", 4);
constexpr std::size_t kFileHeader = 30;
constexpr std::size_t kEntryHeader = 46;
constexpr unsigned kEncrypted = 1;
constexpr unsigned kStored = 0;
constexpr unsigned kDeflated = 8;
// No byte stands for more.
constexpr std::size_t kMostUnpacked = 1032;

[[noreturn]] void FailAsDamaged() {
    throw CError("its zip archive is damaged");
}

// A place in the archive; every access to what is not there fails.
class CRecord {
public:
    CRecord(std::string_view archive, std::size_t at, std::string_view mark)
        : m_archive(archive), m_at(at) {
        if (at > archive.size() || !archive.substr(at).starts_with(mark)) {
            FailAsDamaged();
        }
    }

    std::uint32_t Half(std::size_t offset) const {
        const std::string_view bytes = Bytes(offset, 2);
        return std::uint32_t{static_cast<unsigned char>(bytes[0])} |
               std::uint32_t{static_cast<unsigned char>(bytes[1])} << 8;
    }
    std::uint32_t Whole(std::size_t offset) const { return Half(offset) | Half(offset + 2) << 16; }

    std::string_view Bytes(std::size_t offset, std::size_t length) const {
        const std::string_view rest = m_archive.substr(m_at);
        if (offset > rest.size() || length > rest.size() - offset) {
            FailAsDamaged();
        }
        return rest.substr(offset, length);
    }

private:
    std::string_view m_archive;
    std::size_t m_at;
};

// The entry of the first XML file.
CRecord FindXml(std::string_view archive) {
    const std::size_t end = archive.rfind(kEndMark);
    if (end == std::string_view::npos) {
        throw CError("its zip archive is cut off");
    }
    const CRecord last(archive, end, kEndMark);
    std::size_t at = last.Whole(16);
    for (std::uint32_t left = last.Half(10); left > 0; --left) {
        const CRecord entry(archive, at, kEntryMark);
        const std::size_t nameLength = entry.Half(28);
        if (LowerCase(entry.Bytes(kEntryHeader, nameLength)).ends_with(".xml")) {
            return entry;
        }
        at += kEntryHeader + nameLength + entry.Half(30) + entry.Half(32);
    }
    throw CError("no file in its zip archive is named .xml");
}

std::string Inflate(std::string_view packed, std::size_t length) {
    if (length / kMostUnpacked > packed.size()) {
        FailAsDamaged();
    }
    std::string text(length, '\0');
    z_stream stream{};
    // Raw data, without zlib's own header.
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) {
        throw CError("there is no memory for unpacking its zip archive");
    }
    stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(length);
    const int outcome = inflate(&stream, Z_FINISH);
    inflateEnd(&stream);
    if (outcome != Z_STREAM_END || stream.avail_out != 0) {
        FailAsDamaged();
    }
    return text;
}

} // namespace

bool IsZip(std::string_view file) {
    return file.starts_with(kFileMark) || file.starts_with(kEndMark);
}

std::string Unzip(std::string_view archive, std::size_t most) {
    const CRecord entry = FindXml(archive);
    const unsigned method = entry.Half(10);
    if ((entry.Half(8) & kEncrypted) != 0) {
        throw CError("its zip archive is encrypted");
    }
    if (method != kStored && method != kDeflated) {
        throw CError("its zip archive is packed by the method " + std::to_string(method) +
                     ", of which only 0 and 8 are understood");
    }
    const std::size_t length = entry.Whole(24);
    if (length == 0 || length > most) {
        throw CError("a length of " + std::to_string(length) +
                     " bytes, unpacked, is not plausible");
    }
    const CRecord file(archive, entry.Whole(42), kFileMark);
    const std::string_view packed =
        file.Bytes(kFileHeader + file.Half(26) + file.Half(28), entry.Whole(20));
    std::string text = method == kStored ? std::string(packed) : Inflate(packed, length);
    if (text.size() != length || crc32(0, reinterpret_cast<const Bytef*>(text.data()),
                                       static_cast<uInt>(text.size())) != entry.Whole(16)) {
        FailAsDamaged();
    }
    return text;
}

} // namespace GenApi
