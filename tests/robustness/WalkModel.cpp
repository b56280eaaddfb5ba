#include "WalkModel.h"

#include <algorithm>

namespace Walk {

void Model::Open(size_t stream) {
    if (!streams[stream].isOpen) {
        streams[stream] = {};
        streams[stream].isOpen = true;
    }
}

// Of the first buffer that seems to be in use and those behind it only the memory outlives the
// stream.
void Model::Close(size_t stream) {
    Stop(stream);
    for (const size_t buffer : streams[stream].announced) {
        Forget(buffer);
    }
    streams[stream] = {};
}

size_t Model::Announce(size_t stream, size_t size) {
    Buffer buffer;
    buffer.size = size;
    buffers.push_back(buffer);
    streams[stream].announced.push_back(buffers.size() - 1);
    return buffers.size() - 1;
}

Answer Model::Revoke(size_t stream, size_t buffer) {
    auto& announced = streams[stream].announced;
    if (std::count(announced.begin(), announced.end(), buffer) == 0) {
        return {-1006, "Invalid Buffer Handle"};
    }
    if (buffers[buffer].isQueued || buffers[buffer].isDelivered) {
        return {-1001, "Buffer queued"};
    }
    std::erase(announced, buffer);
    Forget(buffer);
    return DONE;
}

// Nothing may deliver it any more, in whichever queues it stands.
void Model::Forget(size_t buffer) {
    for (Stream& stream : streams) {
        std::erase(stream.input, buffer);
        std::erase(stream.output, buffer);
    }
    buffers[buffer].isAlive = false;
}

void Model::Queue(size_t stream, size_t buffer) {
    if (!buffers[buffer].isQueued) {
        buffers[buffer].Set(true, false, false);
        streams[stream].input.push_back(buffer);
    }
}

void Model::Flush(size_t stream, int32_t operation) {
    switch (operation) {
    case 0:
        return InputToOutput(streams[stream]);
    case 1:
        return DiscardOutput(streams[stream]);
    case 2:
        return AllToInput(streams[stream]);
    case 3:
        return UnqueuedToInput(streams[stream]);
    case 4:
        return DiscardAll(streams[stream]);
    default:
        return;
    }
}

void Model::InputToOutput(Stream& stream) {
    for (size_t buffer : stream.input) {
        buffers[buffer].Set(false, false, true);
        stream.output.push_back(buffer);
    }
    stream.input.clear();
}

void Model::DiscardOutput(Stream& stream) {
    for (size_t buffer : stream.output) {
        buffers[buffer].Set(false, false, false);
    }
    stream.output.clear();
}

void Model::AllToInput(Stream& stream) {
    for (size_t buffer : stream.output) {
        buffers[buffer].Set(true, false, false);
        stream.input.push_back(buffer);
    }
    stream.output.clear();
    for (size_t buffer : stream.announced) {
        if (!buffers[buffer].isQueued) {
            buffers[buffer].isQueued = true;
            stream.input.push_back(buffer);
        }
    }
}

void Model::UnqueuedToInput(Stream& stream) {
    for (size_t buffer : stream.announced) {
        if (!buffers[buffer].isQueued && !buffers[buffer].isDelivered) {
            buffers[buffer].isQueued = true;
            buffers[buffer].hasNewData = false;
            stream.input.push_back(buffer);
        }
    }
}

void Model::DiscardAll(Stream& stream) {
    stream.input.clear();
    stream.output.clear();
    for (size_t buffer : stream.announced) {
        buffers[buffer].Set(false, false, false);
        stream.output.push_back(buffer);
    }
}

void Model::Start(size_t stream, uint64_t count) {
    Stream& started = streams[stream];
    started.remaining = std::min(count, WITHOUT_LIMIT);
    started.isStarted = true;
    started.allowance = started.remaining;
    started.numMade = started.next = 0;
    started.numDelivered = started.numLost = 0;
    started.isGrabbing = started.remaining != 0;
    started.lastGrab = 0;
}

void Model::Stop(size_t stream) {
    streams[stream].isGrabbing = false;
    streams[stream].isStarted = false;
    streams[stream].next = streams[stream].numMade;
}

size_t Model::NumTaking(uint64_t count) const {
    return static_cast<size_t>(
        std::count_if(streams.begin(), streams.end(), [&](const Stream& stream) {
            return stream.isGrabbing && std::min(count, stream.allowance) > 0;
        }));
}

bool Model::WouldContend(uint64_t count) const {
    if (NumTaking(count) < 2) {
        return false;
    }
    const auto isTaken = [&](const Stream& stream, size_t buffer) {
        const auto end = stream.input.begin() +
                         static_cast<std::ptrdiff_t>(std::min<size_t>(stream.input.size(), count));
        return std::find(stream.input.begin(), end, buffer) != end;
    };
    for (size_t buffer = 0; buffer < buffers.size(); ++buffer) {
        if (isTaken(streams[0], buffer) && isTaken(streams[1], buffer)) {
            return true;
        }
    }
    return false;
}

void Model::Produce(uint64_t count, int32_t result) {
    for (Stream& stream : streams) {
        if (!stream.isStarted) {
            continue;
        }
        const uint64_t made = std::min(count, stream.allowance);
        stream.numMade += made;
        if (stream.allowance != WITHOUT_LIMIT) {
            stream.allowance -= made;
        }
        int32_t next = result;
        while (stream.isGrabbing && stream.next < stream.numMade) {
            Grab(stream, next);
            next = 0;
        }
    }
}

// With an empty input queue the image is taken and dropped.
void Model::Grab(Stream& stream, int32_t result) {
    stream.lastGrab = result;
    const bool isDropping = stream.input.empty();
    if (result == 0) {
        Fill(stream);
    } else if (result == -3) {
        ++stream.numLost;
    } else if (result == -2) {
        stream.isGrabbing = false;
    } else if (result != -1) {
        stream.isGrabbing = false;
        if (!isDropping) {
            stream.input.pop_front(); // and stays marked as queued
        }
    }
}

void Model::Fill(Stream& stream) {
    const uint64_t image = stream.next++;
    if (stream.input.empty()) {
        ++stream.numLost;
        return;
    }
    const size_t buffer = stream.input.front();
    stream.input.pop_front();
    buffers[buffer].Set(false, true, true);
    buffers[buffer].image = image;
    stream.output.push_back(buffer);
    ++stream.numDelivered;
    if (stream.remaining != WITHOUT_LIMIT && --stream.remaining == 0) {
        stream.isGrabbing = false;
    }
}

// The buffer is taken before the arguments are looked at.
Fetched Model::Fetch(size_t stream, bool hasArea, std::optional<size_t> size) {
    Stream& fetching = streams[stream];
    if (fetching.output.empty()) {
        switch (fetching.lastGrab) {
        case -2:
            return {{-1001, "Port is not available"}, {}, false};
        case -4:
            return {};
        default:
            return {{-1011, "Timeout"}, {}, false};
        }
    }
    const size_t buffer = fetching.output.front();
    fetching.output.pop_front();
    const bool isNew = buffers[buffer].isDelivered && buffers[buffer].hasNewData;
    buffers[buffer].Set(false, true, false);
    if (!size || (hasArea && *size > 0 && *size < 16)) {
        return {UNSPECIFIED, {}, false};
    }
    return {DONE, buffer, true, isNew};
}

} // namespace Walk
