#include "Bootstrap.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace OptivoVision {

namespace {

constexpr std::uint16_t kControlPort = 3956;
constexpr std::uint32_t kVersion = 0x88;
constexpr std::uint16_t kVersionLength = 32;
constexpr std::uint32_t kUserName = 0xE8;
constexpr std::uint16_t kUserNameLength = 16;

constexpr timeval kPatience{0, 100'000};
constexpr int kTries = 2;

constexpr std::uint16_t kAnswerWanted = 0x4201; // and the mark of a command
constexpr std::uint16_t kReadMemory = 0x84;
constexpr std::uint16_t kReadMemoryAnswer = 0x85;

// All fields are big-endian.
struct SRequest {
    std::uint16_t mark = htons(kAnswerWanted);
    std::uint16_t command = htons(kReadMemory);
    std::uint16_t length = htons(8);
    std::uint16_t number = 0;
    std::uint32_t address = 0;
    std::uint16_t reserved = 0;
    std::uint16_t count = 0;
};
struct SAnswer {
    std::uint16_t status = 0;
    std::uint16_t command = 0;
    std::uint16_t length = 0;
    std::uint16_t number = 0;
    std::uint32_t address = 0;
    std::array<char, kVersionLength> text{};
};

class CControlSocket {
public:
    explicit CControlSocket(const std::string& address)
        : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in to = {};
        to.sin_family = AF_INET;
        to.sin_port = htons(kControlPort);
        // What is not connected refuses to send.
        if (inet_pton(AF_INET, address.c_str(), &to.sin_addr) == 1) {
            setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
            static_cast<void>(connect(m_socket, reinterpret_cast<const sockaddr*>(&to), sizeof to));
        }
    }
    ~CControlSocket() {
        if (m_socket >= 0) {
            close(m_socket);
        }
    }
    CControlSocket(const CControlSocket&) = delete;
    CControlSocket& operator=(const CControlSocket&) = delete;

    // Up to the first zero. The length is a multiple of four.
    std::string ReadText(std::uint32_t address, std::uint16_t length) {
        for (int i = 0; i < kTries && m_isAnswering; ++i) {
            SRequest request;
            request.number = htons(++m_number);
            request.address = htonl(address);
            request.count = htons(length);
            SAnswer answer;
            if (send(m_socket, &request, sizeof request, MSG_NOSIGNAL) != sizeof request) {
                break;
            }
            const ssize_t size = recv(m_socket, &answer, sizeof answer, 0);
            const auto whole = static_cast<ssize_t>(offsetof(SAnswer, text) + length);
            if (size >= 8 && answer.number == request.number && answer.status != 0) {
                return {};
            }
            if (size == whole && answer.number == request.number &&
                answer.command == htons(kReadMemoryAnswer)) {
                return {answer.text.data(), strnlen(answer.text.data(), length)};
            }
        }
        m_isAnswering = false;
        return {};
    }

private:
    const int m_socket;
    std::uint16_t m_number = 0;
    bool m_isAnswering = true;
};

} // namespace

SBootstrap ReadBootstrap(const std::string& address) {
    CControlSocket camera(address);
    SBootstrap found;
    found.version = camera.ReadText(kVersion, kVersionLength);
    found.userName = camera.ReadText(kUserName, kUserNameLength);
    return found;
}

} // namespace OptivoVision
