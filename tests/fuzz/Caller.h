// How an input's calls of the module are made: arguments at random, and what holds for every
// answer. Knows the handles that the module gave, but not in which order its functions are called.
#pragma once

#include "Handles.h"
#include "LoadedModule.h"
#include "Output.h"

#include <cstdint>
#include <string>
#include <vector>

class CCaller {
protected:
    using enum EHandle;

    // The functions whose failure with one code is not recorded.
    static constexpr int32_t ALWAYS_RECORDED = 0;

    explicit CCaller(Bytes& bytes)
        : m_bytes(bytes), gentl(TheProducer()), m_handles(bytes, TheProducer()) {}

    // Makes a call, and checks that its answer is a known one and that its failure is recorded.
    template <typename Call>
    int32_t Try(Call&& call, int32_t unrecorded = ALWAYS_RECORDED) {
        gentl.GCGetInfo(99, nullptr, nullptr, nullptr);
        const RecordedError before = ReadLastError(gentl);
        const int32_t code = call();
        CheckAnswer(code, unrecorded, before, ReadLastError(gentl));
        return code;
    }

    // The call gets the address of the handle.
    template <typename Call>
    void Open(EHandle kind, void* parent, Call&& call) {
        COutput<void*> handle(m_bytes);
        if (Try([&] { return call(handle.Pointer()); }) == 0) {
            m_handles.Add(kind, handle.Get(), parent);
        }
    }

    // An open module of this kind, made with the call if there is none; null when that fails.
    template <typename Call>
    void* Have(EHandle kind, void* parent, Call&& call) {
        if (void* const known = m_handles.First(kind, parent)) {
            return known;
        }
        void* handle = nullptr;
        if (Try([&] { return call(&handle); }) != 0) {
            return nullptr;
        }
        m_handles.Add(kind, handle, parent);
        return handle;
    }

    // Closes one of this kind that is alive, or fails to close something else.
    template <typename Call>
    bool TryClosing(EHandle kind, Call&& call, int32_t unrecorded = ALWAYS_RECORDED) {
        void* const handle = Take(kind);
        if (m_handles.IsAlive(kind, handle)) {
            m_handles.PrepareClosing(handle);
        }
        if (Try([&] { return call(handle); }, unrecorded) != 0) {
            return false;
        }
        Demand(m_handles.IsAlive(kind, handle), "only what is alive is closed");
        if (kind == Interface) {
            m_handles.RemoveInterface(handle);
        } else {
            m_handles.Remove(handle);
        }
        return true;
    }

    // The call gets a command and the three outputs.
    template <typename Call>
    void Describe(Call&& call, int32_t unrecorded = ALWAYS_RECORDED) {
        const int32_t command = TakeCommand();
        COutput<INFO_DATATYPE> type(m_bytes);
        CBufferOutput out(m_bytes);
        Try([&] { return call(command, type.Pointer(), out.Buffer(), out.Size()); }, unrecorded);
    }

    void* Take(EHandle kind) { return m_handles.Take(kind); }
    // Of a kind that has a port, or of the one that has none.
    void* TakePort();
    int32_t TakeCommand();
    // A text, which lasts until the next is taken, or null.
    const char* TakeId(const std::vector<const char*>& usual);
    const char* TakeInterfaceId();
    const char* TakeDeviceId();

    Bytes& m_bytes;
    const Producer& gentl;
    CHandles m_handles;

private:
    static void CheckAnswer(int32_t code, int32_t unrecorded, const RecordedError& before,
                            const RecordedError& after);

    std::string m_text;
};
