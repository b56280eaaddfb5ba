#include "Archive.h"

#include <zlib.h>

namespace {

std::string Little(uint32_t value, unsigned size) {
    std::string bytes;
    for (unsigned i = 0; i < size; ++i) {
        bytes += static_cast<char>(value >> (8 * i));
    }
    return bytes;
}

std::string Half(size_t value) {
    return Little(static_cast<uint32_t>(value), 2);
}

std::string Whole(size_t value) {
    return Little(static_cast<uint32_t>(value), 4);
}

Bytef* Pointer(std::string& text) {
    return reinterpret_cast<Bytef*>(text.data());
}

std::string Deflated(std::string text) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, static_cast<uLong>(text.size())), '\0');
    stream.next_in = Pointer(text);
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = Pointer(packed);
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(packed.size() - stream.avail_out);
    deflateEnd(&stream);
    return packed;
}

} // namespace

std::string SArchive::Bytes() const {
    std::string plain = text;
    const std::string packed = method == 8 ? Deflated(plain) : plain;
    const uLong crc = crc32(0, Pointer(plain), static_cast<uInt>(plain.size())) ^ crcError;
    // Between the version and the name, the same before the file and in the list of files.
    const std::string common = Half(20) + Half(flags) + Half(method) + Whole(0) + Whole(crc) +
                               Whole(packed.size()) + Whole(plain.size() + lengthError) +
                               Half(name.size());
    const std::string folder = "PK\x03\x04" + Half(20) + Half(0) + Half(0) + Whole(0) + Whole(0) +
                               Whole(0) + Whole(0) + Half(2) + Half(0) + "d/";
    const std::string file = "PK\x03\x04" + common + Half(3) + name + "xtr" + packed;
    const std::string folderEntry = "PK\x01\x02" + Half(20) + Half(20) + Half(0) + Half(0) +
                                    Whole(0) + Whole(0) + Whole(0) + Whole(0) + Half(2) + Half(4) +
                                    Half(5) + Half(0) + Half(0) + Whole(0) + Whole(0) + "d/" +
                                    "more" + "words";
    const std::string entry = "PK\x01\x02" + Half(20) + common + Half(0) + Half(0) + Half(0) +
                              Half(0) + Whole(0) + Whole(folder.size()) + name;
    const std::string list = folderEntry + entry;
    return folder + file + list + "PK\x05\x06" + Half(0) + Half(0) + Half(2) + Half(2) +
           Whole(list.size()) + Whole(folder.size() + file.size()) + Half(0) +
           std::string(zerosBehind, '\0');
}
