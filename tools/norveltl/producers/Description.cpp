#include "producers/Description.h"

#include "genapi/Description.h"

#include <array>

namespace norveltl {

std::string DescriptionUrl(const CProducer& producer, PORT_HANDLE port) {
    if (!producer.GCGetNumPortURLs.IsMissing()) {
        uint32_t count = 0;
        producer.Call(producer.GCGetNumPortURLs, port, &count);
        if (count == 0) {
            throw CToolError("the module names no XML description");
        }
    }
    const auto query = CProducer::Query(producer.GCGetPortURLInfo, port, 0u, URL_INFO_URL);
    if (const auto url = QueryText(query)) {
        return *url;
    }
    std::array<char, 4096> url{};
    size_t size = url.size() - 1;
    producer.Call(producer.GCGetPortURL, port, url.data(), &size);
    return url.data();
}

std::string ReadDescription(const CProducer& producer, PORT_HANDLE port) {
    return GenApi::ReadDescription(DescriptionUrl(producer, port), Registers(producer, port));
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
