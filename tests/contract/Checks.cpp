#include "Checks.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <iomanip>
#include <thread>

namespace {

constexpr char FILLER = '\x5A';
constexpr size_t GUARD = 64;

// The outputs of one info query, before and after.
struct Outputs {
    explicit Outputs(size_t capacity) : buffer(capacity + GUARD, FILLER) {}

    std::string Untouched() const { return std::string(buffer.size(), FILLER); }

    INFO_DATATYPE type = TYPE_NOT_WRITTEN;
    size_t size = SIZE_NOT_WRITTEN;
    std::string buffer;
};

InfoCall WithoutType(const TextCall& call) {
    return [call](INFO_DATATYPE*, void* buffer, size_t* size) {
        return call(static_cast<char*>(buffer), size);
    };
}

void ExpectRefusedCopy(const InfoCall& call, const Info& expected, size_t* size, Outputs& out) {
    EXPECT_FAILS(-1001, "Unspecified runtime error.", call(&out.type, out.buffer.data(), size));
    EXPECT_EQ(out.type, expected.type);
    EXPECT_EQ(out.buffer, out.Untouched());
}

void ExpectCopied(const InfoCall& call, const Info& expected, size_t offeredSize) {
    Outputs out(expected.size);
    out.size = offeredSize;
    EXPECT_OK(call(&out.type, out.buffer.data(), &out.size));
    EXPECT_EQ(out.type, expected.type);
    EXPECT_EQ(out.size, expected.size);
    EXPECT_EQ(out.buffer, expected.bytes + std::string(GUARD, FILLER));
}

void ExpectAnsweredWithoutType(const InfoCall& call, const Info& expected) {
    Outputs out(expected.size);
    out.size = expected.size;
    EXPECT_OK(call(nullptr, out.buffer.data(), &out.size));
    EXPECT_EQ(out.buffer, expected.bytes + std::string(GUARD, FILLER));
}

} // namespace

std::ostream& operator<<(std::ostream& out, const ErrorRecord& error) {
    return out << CodeName(error.code) << " \"" << error.text << '"';
}

ErrorRecord LastError(const Producer& producer) {
    size_t size = 0;
    if (producer.GCGetLastError(nullptr, nullptr, &size) != 0) {
        return {};
    }
    ErrorRecord error;
    std::vector<char> text(size + 1);
    size = text.size();
    EXPECT_EQ(producer.GCGetLastError(&error.code, text.data(), &size), 0);
    error.text = text.data();
    return error;
}

std::string CodeName(int32_t code) {
    static constexpr std::array<const char*, 21> NAMES = {"ERROR",
                                                          "NOT_INITIALIZED",
                                                          "NOT_IMPLEMENTED",
                                                          "RESOURCE_IN_USE",
                                                          "ACCESS_DENIED",
                                                          "INVALID_HANDLE",
                                                          "INVALID_ID",
                                                          "NO_DATA",
                                                          "INVALID_PARAMETER",
                                                          "IO",
                                                          "TIMEOUT",
                                                          "ABORT",
                                                          "INVALID_BUFFER",
                                                          "NOT_AVAILABLE",
                                                          "INVALID_ADDRESS",
                                                          "BUFFER_TOO_SMALL",
                                                          "INVALID_INDEX",
                                                          "PARSING_CHUNK_DATA",
                                                          "INVALID_VALUE",
                                                          "RESOURCE_EXHAUSTED",
                                                          "OUT_OF_MEMORY"};
    const std::string number = std::to_string(code);
    if (code == 0) {
        return number + " GC_ERR_SUCCESS";
    }
    if (code > -1001 || code < -1021) {
        return number;
    }
    return number + " GC_ERR_" + NAMES[static_cast<size_t>(-1001 - code)];
}

testing::AssertionResult Answers(int32_t expected, int32_t answer) {
    if (answer == expected) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "it answers " << CodeName(answer) << " instead of "
                                       << CodeName(expected) << "; last error: " << LastError();
}

namespace {

const ErrorRecord OTHER_ERROR = {-1009, "Unsupported GCInfo parameter"};

} // namespace

testing::AssertionResult RecordOtherError() {
    TheProducer().GCGetInfo(99, nullptr, nullptr, nullptr);
    if (LastError() == OTHER_ERROR) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "no other error can be recorded: " << LastError();
}

testing::AssertionResult CallFails(int32_t code, std::string_view text,
                                   const std::function<int32_t()>& call) {
    if (const auto recorded = RecordOtherError(); !recorded) {
        return recorded;
    }
    const int32_t answer = call();
    const ErrorRecord found = LastError();
    if (answer == code && found == ErrorRecord{code, std::string(text)}) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "it answers " << CodeName(answer) << " and records "
           << (found == OTHER_ERROR ? "nothing" : testing::PrintToString(found)) << "; wanted "
           << CodeName(code) << " \"" << text << '"';
}

testing::AssertionResult CallFailsWithSomeText(int32_t code, const std::function<int32_t()>& call) {
    if (const auto recorded = RecordOtherError(); !recorded) {
        return recorded;
    }
    const int32_t answer = call();
    const ErrorRecord found = LastError();
    if (answer == code && found.code == code && !found.text.empty() && found != OTHER_ERROR) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "it answers " << CodeName(answer) << " and records "
           << (found == OTHER_ERROR ? "nothing" : testing::PrintToString(found)) << "; wanted "
           << CodeName(code) << " with a text";
}

testing::AssertionResult CallFailsUnrecorded(int32_t code, const std::function<int32_t()>& call) {
    if (const auto recorded = RecordOtherError(); !recorded) {
        return recorded;
    }
    const int32_t answer = call();
    const ErrorRecord found = LastError();
    if (answer == code && found == OTHER_ERROR) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "it answers " << CodeName(answer) << " and records "
           << (found == OTHER_ERROR ? "nothing" : testing::PrintToString(found)) << "; wanted "
           << CodeName(code) << " and no record";
}

std::ostream& operator<<(std::ostream& out, const Info& info) {
    out << CodeName(info.code) << ", type " << info.type << ", size " << info.size << ", bytes";
    const auto flags = out.flags();
    for (const char byte : info.bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (std::isprint(value) != 0) {
            out << ' ' << byte;
        } else {
            out << " \\x" << std::hex << std::setw(2) << std::setfill('0') << unsigned{value};
        }
    }
    out.flags(flags);
    return out;
}

Info Ask(const InfoCall& call) {
    Info info;
    info.code = call(&info.type, nullptr, &info.size);
    if (info.code != 0 || info.size == SIZE_NOT_WRITTEN) {
        return info;
    }
    Outputs out(info.size);
    out.size = info.size;
    info.code = call(&out.type, out.buffer.data(), &out.size);
    EXPECT_EQ(out.type, info.type) << "the size query told another type";
    EXPECT_EQ(out.size, info.size) << "the size query told another size";
    EXPECT_EQ(out.buffer.substr(info.size), std::string(GUARD, FILLER)) << "written too far";
    info.bytes = out.buffer.substr(0, info.size);
    return info;
}

Info AskText(const TextCall& call) {
    return Ask(WithoutType(call));
}

Info TextInfo(std::string_view text) {
    return {0, 1, text.size() + 1, std::string(text) + '\0'};
}

Info BoolInfo(bool value) {
    return {0, 11, 1, std::string(1, value ? '\1' : '\0')};
}

Info PlainTextInfo(std::string_view text) {
    Info info = TextInfo(text);
    info.type = TYPE_NOT_WRITTEN;
    return info;
}

void ExpectCopyOut(const InfoCall& call, const Info& expected) {
    Outputs noSize(expected.size);
    ExpectRefusedCopy(call, expected, nullptr, noSize);

    EXPECT_EQ(Ask(call), expected);
    ExpectCopied(call, expected, 0);
    ExpectCopied(call, expected, expected.size);
    ExpectCopied(call, expected, expected.size + 17);
    ExpectAnsweredWithoutType(call, expected);

    if (expected.size > 1) {
        Outputs oneShort(expected.size);
        oneShort.size = expected.size - 1;
        ExpectRefusedCopy(call, expected, &oneShort.size, oneShort);
        EXPECT_EQ(oneShort.size, expected.size - 1);
    }
}

void ExpectTextCopyOut(const TextCall& call, const Info& expected) {
    ExpectCopyOut(WithoutType(call), expected);
}

bool Eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(LONG_WAIT);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
