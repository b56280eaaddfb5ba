// Every handle that the module gave, which of them are alive, and what ends with which.
// Knows what a consumer must do before it closes something, so that nothing stays behind.
#pragma once

#include "Demand.h"
#include "Producer.h"

#include <memory>
#include <vector>

enum class EHandle { System, Interface, Device, Remote, Stream, Buffer, Event };

class CHandles {
public:
    CHandles(Bytes& bytes, const Producer& producer) : m_bytes(bytes), gentl(producer) {}

    // Mostly one of this kind that is alive; else null, foreign, closed or of another kind.
    void* Take(EHandle kind);

    // A handle that the module gave, unless it is known to be alive. memory is what a buffer uses,
    // if it is not its own.
    void Add(EHandle kind, void* handle, void* parent, std::unique_ptr<char[]> memory = nullptr);
    bool IsAlive(EHandle kind, const void* handle) const;
    // The first one that is alive, of this parent; null when there is none.
    void* First(EHandle kind, const void* parent) const;

    // To be called before a handle is closed: ends faults, and takes what is queued out of the
    // streams that close with it. A stream that fails to close is kept for good.
    void PrepareClosing(const void* handle);
    // The same, before everything closes.
    void PrepareClosing();
    // What a successful close ends.
    void Remove(const void* handle);
    // Devices outlive their interface, but where the answers are the standard's.
    void RemoveInterface(const void* handle);
    void RemoveAll() { m_live.clear(); }

    void CloseAll();

private:
    struct Live {
        EHandle kind;
        void* handle;
        const void* parent;
        std::unique_ptr<char[]> memory;
    };

    template <typename Which>
    void Quieten(Which&& which);

    void* Foreign();
    bool EndsWith(const Live& live, const void* handle) const;
    void* First(EHandle kind) const;

    Bytes& m_bytes;
    const Producer& gentl;
    std::vector<Live> m_live;
    std::vector<void*> m_seen;
};
