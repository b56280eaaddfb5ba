#include "view/Keep.h"

#include "terminal/Console.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

namespace norveltl {

namespace fs = std::filesystem;

namespace {

fs::path Created(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!error) {
        fs::path whole = fs::canonical(folder, error);
        if (!error && fs::is_directory(whole)) {
            return whole;
        }
    }
    throw CToolError("cannot use the folder " + Utf8FromPath(folder) +
                     (error ? ": " + Printable(error.message()) : ""));
}

// Short enough for every disk with what follows it.
std::string NameOf(const std::string& id) {
    constexpr size_t kMaxLength = 100;
    size_t length = std::min(id.size(), kMaxLength);
    while (length < id.size() && length > 0 && (id[length] & 0xC0) == 0x80) {
        --length;
    }
    return FileNameFrom(Printable(id.substr(0, length)));
}

} // namespace

CKeep::CKeep(const fs::path& folder) : m_folder(Created(folder)) {
    PreparePng();
}

CKeep::~CKeep() {
    for (const auto& [key, recording] : m_recordings) {
        recording->End("");
    }
}

std::string CKeep::Folder() const {
    return Utf8FromPath(m_folder);
}

std::optional<uint64_t> CKeep::SpaceLeft() const {
    std::error_code error;
    const fs::space_info space = fs::space(m_folder, error);
    return error ? std::nullopt : std::optional<uint64_t>(space.available);
}

// The camera and the time, "Left_2026-01-31T12-00-00.250Z": without an ending, nor taken with any.
fs::path CKeep::NewPlace(const CLiveCamera& camera) const {
    std::string name = NameOf(camera.Id()) + "_" + TimeText(std::chrono::system_clock::now());
    std::ranges::replace(name, ':', '-');
    constexpr std::array<const char*, 6> kEndings = {"", ".png", ".tif", ".raw", ".avi", ".json"};
    for (unsigned number = 1;; ++number) {
        const std::string other = number == 1 ? name : name + "-" + std::to_string(number);
        if (std::ranges::none_of(kEndings, [&](const char* ending) {
                return fs::exists(m_folder / PathFromUtf8(other + ending));
            })) {
            return m_folder / PathFromUtf8(other);
        }
    }
}

std::vector<std::string> CKeep::WriteSnapshot(CLiveCamera& camera, const CFrame& frame,
                                              EFileFormat format) {
    const std::vector<SReadValue> settings = camera.Settings();
    const std::lock_guard writing(m_writing);
    const std::string stem = Utf8FromPath(NewPlace(camera).filename());
    const SImageRecord record = WriteImage(m_folder, stem, frame.Image(), format, EExisting::Keep);
    return {record.file,
            WriteImageReport(m_folder, stem, camera.Origin(), settings, record, frame.Arrival())};
}

void CKeep::Begin(const std::string& key, CLiveCamera& camera, SRecordingPlan plan) {
    SRecorded recorded = camera.AsRecorded();
    const std::lock_guard writing(m_writing);
    if (const auto known = m_recordings.find(key); known != m_recordings.end()) {
        const SRecordingState state = known->second->State();
        if (state.takes || state.writes) {
            throw CToolError(state.takes ? "the camera is recorded already"
                                         : "the last recording is still being written");
        }
    }
    plan.path = NewPlace(camera);
    if (plan.isVideo) {
        plan.path += ".avi";
    }
    const auto recording = std::make_shared<CRecording>(plan, std::move(recorded));
    camera.Record(recording);
    const std::lock_guard lock(m_lock);
    m_recordings[key] = recording;
}

void CKeep::End(const std::string& key) {
    const std::lock_guard lock(m_lock);
    if (const auto known = m_recordings.find(key); known != m_recordings.end()) {
        known->second->End("");
    }
}

std::map<std::string, CKeep::SRecordingReport> CKeep::Recordings() const {
    const std::lock_guard lock(m_lock);
    std::map<std::string, SRecordingReport> reports;
    for (const auto& [key, recording] : m_recordings) {
        reports[key] = {Utf8FromPath(recording->Path().filename()), recording->State()};
    }
    return reports;
}

} // namespace norveltl
