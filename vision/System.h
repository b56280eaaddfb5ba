// The system object: lists and opens the interfaces, which are always the same two.
#pragma once

#include "Glib.h"

namespace OptivoVision {

class CSystem final : public Optivo::ICamSystem {
public:
    void Unused1() override {}
    Int32 UpdateInterfaceList(UInt32* count, UInt32 timeout) override;
    Int32 GetInterfaceName(UInt32 index, char* buffer, Size* size) override;
    Int32 GetInterface(const char* name, Optivo::ICamInterface** interface_) override;
    Int32 OpenInterface(const char* name, Optivo::ICamInterface** interface_) override;
    void Unused6() override {}
    void Unused7() override {}
    Int32 Close() override;
};

} // namespace OptivoVision
