// Closings: what is open is closed, whatever the camera library answers.
#include "MatrixRows.h"

namespace Matrix {
namespace {

// A close that reports nothing of it.
Row Swallowed(const std::string& action, OptivoOperation operation,
              std::optional<OptivoObjectKind> unclosed = std::nullopt) {
    Row row = Ignored(action, operation, SOUND);
    row.thrown = SOUND;
    row.unclosed = unclosed;
    return row;
}

// A close that reports what the library throws, and closes all the same.
Row Reported(const std::string& action, OptivoOperation operation, OptivoObjectKind unclosed) {
    Row row = Ignored(action, operation, SOUND);
    row.unclosed = unclosed;
    return row;
}

} // namespace

std::vector<Row> ClosingRows() {
    std::vector<Row> rows = {
        Reported("TLClose", OPTIVO_SYSTEM_CLOSE, OPTIVO_OBJECT_SYSTEM),
        Swallowed("TLClose", OPTIVO_INTERFACE_CLOSE, OPTIVO_OBJECT_INTERFACE),
        Swallowed("TLClose", OPTIVO_DEVICE_CLOSE, OPTIVO_OBJECT_DEVICE),
        Reported("IFClose", OPTIVO_INTERFACE_CLOSE, OPTIVO_OBJECT_INTERFACE),
        Reported("DevClose", OPTIVO_DEVICE_CLOSE, OPTIVO_OBJECT_DEVICE),
        Reported("DevClose, after IFClose", OPTIVO_DEVICE_CLOSE, OPTIVO_OBJECT_DEVICE),
        Swallowed("DSClose, stopped", OPTIVO_STREAM_CLOSE, OPTIVO_OBJECT_STREAM),
    };
    for (const char* action : {"TLClose", "DevClose", "DevClose, after IFClose"}) {
        rows.push_back(Swallowed(action, OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK));
    }
    for (const char* action : {"TLClose", "DevClose", "DevClose, after IFClose", "DSClose"}) {
        // A stream that cannot be stopped is not closed either.
        Row stopping = Swallowed(action, OPTIVO_STREAM_STOP_ACQUISITION, OPTIVO_OBJECT_STREAM);
        stopping.isUnclosedAlways = true;
        rows.push_back(stopping);
        rows.push_back(Swallowed(action, OPTIVO_STREAM_CLOSE, OPTIVO_OBJECT_STREAM));
    }
    return rows;
}

} // namespace Matrix
