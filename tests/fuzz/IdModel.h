// The rules by which an ID names something, and what the module is to answer about what it names.
// Knows what a world holds, and not how the module finds it.
#pragma once

#include "NamedWorld.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// An answer: of a failure the code and the recorded text, else what was asked for.
struct Answer {
    int32_t code = 0;
    std::string text;
};

// A failure of which no more is told.
Answer Unspecified();

// Whether an ID names something; nothing when it names nothing at all, which ends a search.
using Match = std::optional<bool>;

Match Names(const std::string& id, const Interface& interface);
Match Names(const std::string& id, const Camera& camera);

template <typename Thing>
struct Search {
    bool isSenseless = false;
    Thing* found = nullptr;
};

template <typename Thing>
Search<Thing> Find(const std::string& id, const std::vector<Thing*>& things) {
    for (Thing* thing : things) {
        const Match match = Names(id, *thing);
        if (!match) {
            return {true, nullptr};
        }
        if (*match) {
            return {false, thing};
        }
    }
    return {};
}

Answer InfoOf(const Interface& interface, int32_t command);

// What IFGetDeviceInfo answers for the record of an open device or of a listed one.
Answer InfoOf(const Camera& camera, bool isOpenRecord, int32_t command);

// What it answers for an ID among the cameras that are open and those that are listed.
Answer ExpectedInfo(const std::vector<Camera*>& openCameras,
                    const std::vector<Camera*>& listedCameras, const std::string& id,
                    int32_t command);

// How IFOpenDevice ends for an ID, of which listed was found.
Answer ExpectedOpening(const std::vector<Camera*>& openCameras, const Search<Camera>& listed,
                       const std::string& id);

// The index in a stream's ID: the decimal number from the third character on, as long as it is a
// small one.
std::optional<std::uint32_t> StreamIndex(const std::string& id);
