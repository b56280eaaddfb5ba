// One folder into which pages let images be written. Its files have names of this program's own,
// which nobody who asks can choose, and none takes the place of another.
#pragma once

#include "view/LiveCamera.h"
#include "view/Recording.h"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace norveltl {

// Any thread may call. Cameras are known by their keys.
class CKeep {
public:
    // Creates the folder; throws CToolError when it cannot.
    explicit CKeep(const std::filesystem::path& folder);
    ~CKeep();
    CKeep(const CKeep&) = delete;
    CKeep& operator=(const CKeep&) = delete;

    std::string Folder() const;
    // Bytes that its disk has left; nothing when the system does not tell.
    std::optional<uint64_t> SpaceLeft() const;

    // The image and its description; answers the files' names. Throws CToolError.
    std::vector<std::string> WriteSnapshot(CLiveCamera& camera, const CFrame& frame,
                                           EFileFormat format);
    // Throws CToolError, also when there is one already. The plan's path is filled in here.
    void Begin(const std::string& key, CLiveCamera& camera, SRecordingPlan plan);
    // Does nothing when there is none.
    void End(const std::string& key);

    struct SRecordingReport {
        std::string name;
        SRecordingState state;
    };
    // Those that go on, and of other cameras the last one.
    std::map<std::string, SRecordingReport> Recordings() const;

private:
    std::filesystem::path NewPlace(const CLiveCamera& camera) const;

    const std::filesystem::path m_folder;
    std::mutex m_writing; // one name is found and taken at a time
    mutable std::mutex m_lock;
    std::map<std::string, std::shared_ptr<CRecording>> m_recordings;
};

} // namespace norveltl
