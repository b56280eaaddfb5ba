#include "files/AviFile.h"

#include "terminal/Console.h"
#include "terminal/Error.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <string>
#include <system_error>

namespace norveltl {

using namespace std::chrono_literals;

namespace {

constexpr size_t kMaxSegments = 2048; // 2 TiB of the usual ones
constexpr uint32_t kRateScale = 1000;
constexpr uint32_t kKeyFrame = 0x10;
constexpr uint64_t kChunkHeader = 8;

// Numbers with the low byte first, and names of four letters.
class CBytes {
public:
    CBytes& Name(std::string_view name) {
        m_bytes.insert(m_bytes.end(), name.begin(), name.end());
        return *this;
    }
    CBytes& Number(uint64_t value, size_t size = 4) {
        for (size_t i = 0; i < size; ++i) {
            m_bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
        }
        return *this;
    }
    CBytes& Zeros(size_t count) {
        m_bytes.resize(m_bytes.size() + count);
        return *this;
    }
    CBytes& Chunk(std::string_view name, const CBytes& content) {
        Name(name).Number(content.m_bytes.size());
        m_bytes.insert(m_bytes.end(), content.m_bytes.begin(), content.m_bytes.end());
        return *this;
    }
    operator std::span<const uint8_t>() const { return m_bytes; }
    size_t Size() const { return m_bytes.size(); }

private:
    std::vector<uint8_t> m_bytes;
};

} // namespace

CAviFile::CAviFile(const std::filesystem::path& path, EExisting existing,
                   const SVideoFormat& format, double framesPerSecond, uint64_t segmentSize)
    : m_path(path),
      m_format(format),
      m_segmentSize(segmentSize),
      m_framesPerSecond(framesPerSecond) {
    CheckPlace(path, existing);
    errno = 0;
    m_file.open(path, std::ios::binary | std::ios::trunc);
    if (!m_file) {
        Fail();
    }
    BeginSegment("AVI ");
    UpdateHeader();
}

void CAviFile::Append(std::span<const uint8_t> frame) {
    // What the segment needs at its end, both indexes of it, counts too.
    const uint64_t indexes = 64 + (m_frames.size() + 1) * 24;
    if (!m_frames.empty() && m_end - m_segment + frame.size() + indexes > m_segmentSize) {
        EndSegment();
        BeginSegment("AVIX");
    }
    Write(CBytes().Name(m_format.codec == "MJPG" ? "00dc" : "00db").Number(frame.size()));
    m_frames.push_back({m_end, static_cast<uint32_t>(frame.size())});
    Write(frame);
    Write(CBytes().Zeros(frame.size() % 2));
    ++m_numFrames;
    m_largest = std::max(m_largest, static_cast<uint32_t>(frame.size()));
    if (m_closed.empty()) {
        m_numInFirst = m_numFrames;
    }
    if (std::chrono::steady_clock::now() - m_updated > 1s) {
        UpdateHeader();
    }
}

void CAviFile::Finish(double framesPerSecond) {
    m_framesPerSecond = framesPerSecond;
    EndSegment();
    UpdateHeader();
    m_file.close();
    if (!m_file) {
        Fail();
    }
}

void CAviFile::WriteHeader() {
    const auto rate = static_cast<uint32_t>(
        std::clamp(std::lround(m_framesPerSecond * kRateScale), 1L, 1'000'000'000L));
    const bool isRgb = m_format.codec.empty();
    const uint32_t lineSize = (m_format.width * m_format.bitsPerPixel / 8 + 3) / 4 * 4;
    const std::string_view chunk = m_format.codec == "MJPG" ? "00dc" : "00db";
    CBytes main;
    main.Number(uint64_t{kRateScale} * 1'000'000 / rate).Zeros(8);
    main.Number(kKeyFrame).Number(m_numInFirst).Zeros(4).Number(1).Number(m_largest);
    main.Number(m_format.width).Number(m_format.height).Zeros(16);
    CBytes stream;
    stream.Name("vids").Name(isRgb ? "DIB " : m_format.codec).Zeros(12);
    stream.Number(kRateScale).Number(rate).Zeros(4).Number(m_numFrames).Number(m_largest);
    stream.Number(0xFFFFFFFF).Zeros(4).Zeros(4);
    stream.Number(m_format.width, 2).Number(m_format.height, 2);
    CBytes picture;
    picture.Number(40).Number(m_format.width).Number(m_format.height).Number(1, 2);
    picture.Number(m_format.bitsPerPixel, 2);
    isRgb ? picture.Number(0) : picture.Name(m_format.codec);
    picture.Number(uint64_t{lineSize} * m_format.height).Zeros(16);
    CBytes index;
    index.Number(4, 2).Zeros(2).Number(m_closed.size()).Name(chunk).Zeros(12);
    for (const SSegment& segment : m_closed) {
        index.Number(segment.offset, 8).Number(segment.size).Number(segment.numFrames);
    }
    index.Zeros((kMaxSegments - m_closed.size()) * 16);

    CBytes streamList;
    streamList.Name("strl").Chunk("strh", stream).Chunk("strf", picture).Chunk("indx", index);
    CBytes extension;
    extension.Name("odml").Chunk("dmlh", CBytes().Number(m_numFrames).Zeros(244));
    CBytes header;
    header.Name("hdrl").Chunk("avih", main).Chunk("LIST", streamList).Chunk("LIST", extension);
    WriteAt(kChunkHeader + 4, CBytes().Chunk("LIST", header));
}

void CAviFile::BeginSegment(const char* kind) {
    if (m_closed.size() >= kMaxSegments) {
        throw CToolError(Utf8FromPath(m_path) + " has reached the size that its index can hold");
    }
    m_segment = m_end;
    Write(CBytes().Name("RIFF").Number(0).Name(kind));
    if (m_segment == 0) {
        WriteHeader();
    }
    m_list = m_end;
    Write(CBytes().Name("LIST").Number(0).Name("movi"));
}

void CAviFile::EndSegment() {
    WriteFrameIndex();
    const uint64_t listEnd = m_end;
    if (m_segment == 0) {
        WriteOldIndex();
    }
    WriteAt(m_list + 4, CBytes().Number(listEnd - m_list - kChunkHeader));
    WriteAt(m_segment + 4, CBytes().Number(m_end - m_segment - kChunkHeader));
    m_frames.clear();
    m_list = 0;
}

void CAviFile::WriteFrameIndex() {
    CBytes index;
    index.Number(2, 2).Number(0, 1).Number(1, 1).Number(m_frames.size());
    index.Name(m_format.codec == "MJPG" ? "00dc" : "00db").Number(m_segment, 8).Zeros(4);
    for (const SFrame& frame : m_frames) {
        index.Number(frame.offset - m_segment).Number(frame.size);
    }
    m_closed.push_back({m_end, static_cast<uint32_t>(kChunkHeader + index.Size()),
                        static_cast<uint32_t>(m_frames.size())});
    Write(CBytes().Chunk("ix00", index));
}

// For players that do not know the other one.
void CAviFile::WriteOldIndex() {
    CBytes index;
    for (const SFrame& frame : m_frames) {
        index.Name(m_format.codec == "MJPG" ? "00dc" : "00db").Number(kKeyFrame);
        index.Number(frame.offset - kChunkHeader - (m_list + kChunkHeader)).Number(frame.size);
    }
    Write(CBytes().Chunk("idx1", index));
}

void CAviFile::UpdateHeader() {
    m_updated = std::chrono::steady_clock::now();
    WriteHeader();
    if (m_list > 0) {
        WriteAt(m_list + 4, CBytes().Number(m_end - m_list - kChunkHeader));
        WriteAt(m_segment + 4, CBytes().Number(m_end - m_segment - kChunkHeader));
    }
    errno = 0;
    if (!m_file.flush()) {
        Fail();
    }
}

void CAviFile::WriteAt(uint64_t offset, std::span<const uint8_t> bytes) {
    errno = 0;
    m_file.seekp(static_cast<std::streamoff>(offset));
    m_file.write(reinterpret_cast<const char*>(bytes.data()),
                 static_cast<std::streamsize>(bytes.size()));
    m_end = std::max<uint64_t>(m_end, offset + bytes.size());
    m_file.seekp(static_cast<std::streamoff>(m_end));
    if (!m_file) {
        Fail();
    }
}

void CAviFile::Write(std::span<const uint8_t> bytes) {
    errno = 0;
    if (!m_file.write(reinterpret_cast<const char*>(bytes.data()),
                      static_cast<std::streamsize>(bytes.size()))) {
        Fail();
    }
    m_end += bytes.size();
}

void CAviFile::Fail() const {
    const std::error_code reason(errno != 0 ? errno : EIO, std::generic_category());
    throw CToolError("cannot write " + Utf8FromPath(m_path) + ": " + Printable(reason.message()));
}

} // namespace norveltl
