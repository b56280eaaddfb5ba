#include "StandardFixtures.h"

#include "Background.h"

#include <algorithm>
#include <atomic>
#include <filesystem>

namespace {

const bool s_isChosen = (Producer::Choose("standard/NorvelTL40-standard.cti"), true);

} // namespace

testing::AssertionResult Refuses(int32_t code, const std::function<int32_t()>& call) {
    Producer& gentl = TheProducer();
    // Another error first, so that what is found afterwards is the call's.
    const int32_t other =
        code == -1009 ? gentl.GCGetInfo(99, nullptr, nullptr, nullptr) : gentl.TLOpen(nullptr);
    if (other == code && code != -1002) {
        return testing::AssertionFailure() << "no other error can be recorded";
    }
    const int32_t answer = call();
    const ErrorRecord found = LastError();
    if (answer == code && found.code == code && !found.text.empty()) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "it answers " << CodeName(answer) << " and records "
                                       << found << "; wanted " << CodeName(code);
}

void ExpectOneOpens(const std::function<int32_t(void**)>& open,
                    const std::function<int32_t(void*)>& close) {
    for (int i = 0; i < 200; ++i) {
        std::atomic<void*> opened = nullptr;
        const auto tryIt = [&]() -> int32_t {
            void* handle = nullptr;
            const int32_t code = open(&handle);
            if (code == 0) {
                opened = handle;
            }
            return code;
        };
        auto codes = RunTogether({tryIt, tryIt, tryIt});
        std::sort(codes.begin(), codes.end());
        ASSERT_EQ(codes, (std::vector<int32_t>{-1004, -1004, 0}));
        ASSERT_OK(close(opened));
    }
}

void ExpectAnswer(const InfoCall& call, const Info& expected) {
    constexpr size_t kGuard = 16;
    constexpr char kFiller = '#';
    const std::string untouched(expected.size + kGuard, kFiller);
    INFO_DATATYPE type = TYPE_NOT_WRITTEN;
    size_t size = SIZE_NOT_WRITTEN;
    EXPECT_OK(call(&type, nullptr, &size));
    EXPECT_EQ(type, expected.type);
    EXPECT_EQ(size, expected.size);

    std::string bytes = untouched;
    size = expected.size - 1;
    EXPECT_REFUSES(-1016, call(&type, bytes.data(), &size));
    EXPECT_EQ(size, expected.size) << "needed";
    EXPECT_EQ(bytes, untouched);

    for (const size_t offered : {expected.size, expected.size + 1}) {
        bytes = untouched;
        size = offered;
        EXPECT_OK(call(nullptr, bytes.data(), &size));
        EXPECT_EQ(size, expected.size);
        EXPECT_EQ(bytes, expected.bytes + std::string(kGuard, kFiller));
    }
    EXPECT_REFUSES(-1009, call(&type, bytes.data(), nullptr));
}

void ExpectTextAnswer(const TextCall& call, std::string_view expected) {
    ExpectAnswer(
        [&](INFO_DATATYPE* type, void* buffer, size_t* size) {
            if (type != nullptr) {
                *type = 1;
            }
            return call(static_cast<char*>(buffer), size);
        },
        TextInfo(expected));
}

Producer& TheFirst() {
    static Producer* const s_first = [] {
        const std::filesystem::path standard = TheProducer().Path();
        auto first =
            Producer::LoadFile((standard.parent_path().parent_path() / "NorvelTL40.cti").string());
        first->GCInitLib();
        return first.release();
    }();
    return *s_first;
}
