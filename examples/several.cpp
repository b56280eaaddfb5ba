// Takes images of all cameras at once, each with a thread of its own.
// several [MODULE.cti] [IMAGES]: so many images of each camera, 20 if not told.
#include "session.h"

#include <chrono>
#include <exception>
#include <thread>

namespace {

constexpr std::uint64_t kImageMs = 5000;

// One camera and what became of it. Only its own thread touches it until that has ended.
struct Task {
    std::string id;
    std::unique_ptr<Camera> camera;
    int numImages = 0;
    double seconds = 0;
    std::exception_ptr failure;
};

void Acquire(Task& task, int numWanted) noexcept {
    const auto begin = std::chrono::steady_clock::now();
    try {
        task.camera->Start();
        while (task.numImages < numWanted) {
            auto* const buffer = task.camera->Wait(kImageMs).BufferHandle;
            if (buffer == nullptr) {
                throw std::runtime_error(task.id + ": no image came");
            }
            ++task.numImages;
            task.camera->Queue(buffer);
        }
        task.camera->Stop();
    } catch (...) {
        task.failure = std::current_exception();
    }
    task.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void AcquireAll(const Session& session, int numWanted) {
    std::vector<std::unique_ptr<Interface>> interfaces;
    std::vector<Task> tasks;
    // Lists are not locked against each other: they are read before the threads begin.
    for (const std::string& id : session.Interfaces()) {
        interfaces.push_back(std::make_unique<Interface>(session, id));
        IF_HANDLE iface = interfaces.back()->Handle();
        for (const std::string& camera : interfaces.back()->Cameras()) {
            Task task;
            task.id = camera;
            task.camera = std::make_unique<Camera>(session, iface, camera);
            tasks.push_back(std::move(task));
        }
    }
    std::vector<std::thread> threads;
    threads.reserve(tasks.size());
    for (Task& task : tasks) {
        threads.emplace_back([&task, numWanted] { Acquire(task, numWanted); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const Task& task : tasks) {
        std::cout << task.id << ": " << task.numImages << " images in " << task.seconds << " s\n";
    }
    std::cout << tasks.size() << " cameras\n";
    for (const Task& task : tasks) {
        if (task.failure) {
            std::rethrow_exception(task.failure);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    return Run([&] {
        const Session session(argc, argv);
        AcquireAll(session, argc > 1 ? std::stoi(argv[1]) : 20);
    });
}
