#include "Faults.h"

#include "OptivoSim.h"

#include <cstdint>

namespace {

constexpr const char* CAMERAS[] = {"Norvel-G640M-10001", "Norvel-G640M-10002",
                                   "Norvel-G640M-20001"};

const char* TakeCamera(Bytes& bytes) {
    return bytes.PickValueInArray(CAMERAS);
}

bool IsClose(OptivoOperation operation) {
    return operation == OPTIVO_SYSTEM_CLOSE || operation == OPTIVO_INTERFACE_CLOSE ||
           operation == OPTIVO_DEVICE_CLOSE || operation == OPTIVO_STREAM_CLOSE;
}

// Nothing hangs, and what is closed is closed in the end.
OptivoFaultKind TakeKind(Bytes& bytes, OptivoOperation operation) {
    static constexpr OptivoFaultKind KINDS[] = {OPTIVO_FAULT_RESULT,
                                                OPTIVO_FAULT_RESULT_AFTER,
                                                OPTIVO_FAULT_NULL_OBJECT,
                                                OPTIVO_FAULT_GENERIC_EXCEPTION,
                                                OPTIVO_FAULT_FOREIGN_EXCEPTION,
                                                OPTIVO_FAULT_UNTERMINATED_TEXT,
                                                OPTIVO_FAULT_OVERLONG_SIZE,
                                                OPTIVO_FAULT_DELAY,
                                                OPTIVO_FAULT_EMPTY_TEXT,
                                                OPTIVO_FAULT_NOT_TEXT};
    const OptivoFaultKind kind = bytes.PickValueInArray(KINDS);
    return IsClose(operation) && kind != OPTIVO_FAULT_DELAY ? OPTIVO_FAULT_RESULT_AFTER : kind;
}

// A camera always tells how large its images are, as nothing else keeps it from writing behind a
// small buffer.
uint64_t TakeSelector(Bytes& bytes, OptivoOperation operation) {
    constexpr uint64_t PAYLOAD_SIZE = 4;
    const bool isAny = bytes.ConsumeBool();
    const auto selector = bytes.ConsumeIntegralInRange<uint64_t>(0, 16);
    if (operation == OPTIVO_STREAM_GET_STREAM_INFO) {
        return isAny || selector == PAYLOAD_SIZE ? 3 : selector;
    }
    return isAny ? OPTIVO_ANY_SELECTOR : selector;
}

void AddFault(Bytes& bytes) {
    static constexpr int32_t RESULTS[] = {
        0,     -1,    -2,    -3,    -4,    -1001, -1002, -1003, -1004, -1005,  -1006,     -1007,
        -1008, -1009, -1010, -1011, -1012, -1013, -1014, -1015, -1016, -10003, INT32_MIN, 1};
    static constexpr uint32_t COUNTS[] = {1, 2, 3, OPTIVO_FOREVER};
    OptivoFault fault{};
    fault.operation =
        static_cast<OptivoOperation>(bytes.ConsumeIntegralInRange(0, OPTIVO_NUM_OPERATIONS - 1));
    fault.kind = TakeKind(bytes, fault.operation);
    fault.result = bytes.PickValueInArray(RESULTS);
    if (fault.kind == OPTIVO_FAULT_DELAY) {
        fault.result = 0;
    }
    fault.selector = TakeSelector(bytes, fault.operation);
    fault.skip = bytes.ConsumeIntegralInRange<uint32_t>(0, 3);
    fault.count = bytes.PickValueInArray(COUNTS);
    OptivoSim_AddFault(&fault);
}

void AddImageFault(Bytes& bytes) {
    OptivoImageFault fault{};
    fault.kind = static_cast<OptivoImageFaultKind>(bytes.ConsumeIntegralInRange(0, 2));
    fault.delayMs = bytes.ConsumeIntegralInRange<uint32_t>(0, 1);
    fault.skip = bytes.ConsumeIntegralInRange<uint32_t>(0, 2);
    fault.count = bytes.ConsumeIntegralInRange<uint32_t>(1, 3);
    OptivoSim_AddImageFault(TakeCamera(bytes), &fault);
}

void ChangeWorld(Bytes& bytes) {
    switch (bytes.ConsumeIntegralInRange(0, 3)) {
    case 0:
        OptivoSim_RemoveCamera(TakeCamera(bytes));
        break;
    case 1:
        OptivoSim_RemoveInterface(bytes.ConsumeBool() ? "eth0" : "usb0");
        break;
    case 2:
        OptivoSim_AddInterface(TakeText(bytes, 20).c_str(), TakeText(bytes, 8).c_str(), "GEV");
        break;
    default:
        OptivoSim_RemoveAll();
        break;
    }
}

void ChangeCamera(Bytes& bytes) {
    const char* const camera = TakeCamera(bytes);
    switch (bytes.ConsumeIntegralInRange(0, 5)) {
    case 0:
        OptivoSim_SetCameraText(camera, bytes.ConsumeIntegralInRange<uint32_t>(0, 17),
                                TakeText(bytes, 40).c_str());
        break;
    case 1:
        OptivoSim_SetCameraStatus(camera, bytes.ConsumeIntegralInRange<uint32_t>(0, 5));
        break;
    case 2:
        OptivoSim_SetNumStreams(camera, bytes.ConsumeIntegralInRange<uint32_t>(0, 3));
        break;
    case 3:
        OptivoSim_SetFrameRate(camera, bytes.ConsumeBool() ? -1 : 500);
        break;
    case 4:
        OptivoSim_SetImageSize(camera, bytes.ConsumeIntegralInRange<uint32_t>(1, 64),
                               bytes.ConsumeIntegralInRange<uint32_t>(1, 8));
        break;
    default:
        OptivoSim_SetStreamValue(camera, bytes.ConsumeIntegralInRange<uint32_t>(0, 12),
                                 bytes.ConsumeIntegral<uint64_t>());
        break;
    }
}

} // namespace

void MakeImagesOnRequest() {
    for (const char* const camera : CAMERAS) {
        OptivoSim_SetFrameRate(camera, -1);
    }
}

void SteerCameraLibrary(Bytes& bytes) {
    switch (bytes.ConsumeIntegralInRange(0, 11)) {
    case 0:
    case 1:
        AddFault(bytes);
        break;
    case 2:
        OptivoSim_ClearFaults();
        break;
    case 3:
        AddImageFault(bytes);
        break;
    case 4:
        ChangeWorld(bytes);
        break;
    case 5:
        ChangeCamera(bytes);
        break;
    case 6:
        OptivoSim_Unplug(TakeCamera(bytes));
        break;
    case 7:
        OptivoSim_Plug(TakeCamera(bytes));
        break;
    case 8:
        OptivoSim_FireEvent(TakeCamera(bytes), bytes.ConsumeIntegral<uint32_t>(),
                            bytes.ConsumeIntegral<uint64_t>());
        break;
    case 9:
        OptivoSim_PulseLine(TakeCamera(bytes), bytes.ConsumeBool());
        break;
    default:
        OptivoSim_ProduceImages(TakeCamera(bytes), bytes.ConsumeIntegralInRange<uint64_t>(1, 4));
        break;
    }
}
