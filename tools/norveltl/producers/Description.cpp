#include "producers/Description.h"

#include "genapi/Description.h"

#include <algorithm>
#include <array>
#include <exception>
#include <stdexcept>

namespace norveltl {

namespace {

constexpr uint32_t kMostUrls = 16;

uint32_t CountUrls(const CProducer& producer, PORT_HANDLE port) {
    uint32_t count = 1;
    if (!producer.GCGetNumPortURLs.IsMissing()) {
        producer.Call(producer.GCGetNumPortURLs, port, &count);
    }
    if (count == 0) {
        throw CToolError("the module names no XML description");
    }
    return std::min(count, kMostUrls);
}

std::string DescriptionUrl(const CProducer& producer, PORT_HANDLE port, uint32_t index) {
    const auto query = CProducer::Query(producer.GCGetPortURLInfo, port, index, URL_INFO_URL);
    if (const auto url = QueryText(query)) {
        return *url;
    }
    if (index > 0) {
        throw CToolError("the module does not tell its further URLs");
    }
    std::array<char, 4096> url{};
    size_t size = url.size() - 1;
    producer.Call(producer.GCGetPortURL, port, url.data(), &size);
    return url.data();
}

} // namespace

std::string ReadDescription(const CProducer& producer, PORT_HANDLE port) {
    const uint32_t count = CountUrls(producer, port);
    std::exception_ptr first;
    for (uint32_t i = 0; i < count; ++i) {
        try {
            return ReadDescription(producer, port, DescriptionUrl(producer, port, i));
        } catch (const std::runtime_error&) {
            first = first ? first : std::current_exception();
        }
    }
    std::rethrow_exception(first);
}

std::string ReadDescription(const CProducer& producer, PORT_HANDLE port, const std::string& url) {
    return GenApi::ReadDescription(url, Registers(producer, port), producer.LoadedFolder());
}

GenApi::SPort Registers(const CProducer& producer, PORT_HANDLE port) {
    const auto read = [&producer, port](uint64_t address, void* buffer, size_t size) {
        size_t transferred = size;
        producer.Call(producer.GCReadPort, port, address, buffer, &transferred);
        if (transferred != size) {
            throw CToolError("GCReadPort gave " + std::to_string(transferred) + " instead of " +
                             std::to_string(size) + " bytes");
        }
    };
    const auto write = [&producer, port](uint64_t address, const void* buffer, size_t size) {
        producer.Call(producer.GCWritePort, port, address, buffer, &size);
    };
    return {read, write};
}

} // namespace norveltl
