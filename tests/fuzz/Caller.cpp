// What is taken from the bytes of an input. A change here gives every input of the corpus another
// meaning.
#include "Caller.h"

void CCaller::CheckAnswer(int32_t code, int32_t unrecorded, const RecordedError& before,
                          const RecordedError& after) {
    Demand(code == 0 || (code <= -1001 && code >= -1021), "an answer is a known code");
    if (code == 0 || (code == unrecorded && after == before)) {
        Demand(after == before, "a success records nothing");
    } else if (code == -1006 && after.code == -1009) {
        DemandEqual(after.text, "Function call on wrong handle or NULL pointer.",
                    "a null handle is recorded as such");
    } else {
        DemandEqual(after.code, code, "the recorded code is the answer");
        Demand(!after.text.empty(), "an error has a text");
    }
}

void* CCaller::TakePort() {
    static constexpr EHandle PORTS[] = {System, Interface, Device, Remote, Remote, Stream, Buffer};
    return Take(m_bytes.PickValueInArray(PORTS));
}

int32_t CCaller::TakeCommand() {
    if (m_bytes.ConsumeIntegralInRange(0, 7) != 0) {
        return m_bytes.ConsumeIntegralInRange(0, 15);
    }
    static constexpr int32_t ODD[] = {16,   17,   18,   19,   25, 99,        1000,     1001,
                                      1002, 1003, 1004, 1005, -1, INT32_MAX, INT32_MIN};
    return m_bytes.PickValueInArray(ODD);
}

const char* CCaller::TakeId(const std::vector<const char*>& usual) {
    const auto choice = m_bytes.ConsumeIntegral<std::uint8_t>();
    if (choice == 0) {
        return nullptr;
    }
    if (choice < 32) {
        m_text = TakeText(m_bytes, choice == 1 ? 3000 : 40);
        return m_text.c_str();
    }
    return usual[choice % usual.size()];
}

const char* CCaller::TakeInterfaceId() {
    return TakeId({"GEV::eth0", "eth0", "U3V::usb0", "u3v::USB0", "::", ""});
}

const char* CCaller::TakeDeviceId() {
    return TakeId({"Norvel-G640M-10001", "Norvel-G640M-10002", "Norvel-G640M-20001", "SN->10002",
                   "USERNAME->", "x::norvel-g640m-10001::", "::", ""});
}
