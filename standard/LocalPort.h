// The registers of the ports that the first module leaves without any: those of a local device and
// of a stream. Each has a description that names them, in the registers behind.
#pragma once

#include "Modules.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Standard {

// Whether the module's registers are here.
bool HasLocalPort(const SModule& module) noexcept;

// Of a module that has a local port: reads what lies within one register, or refuses it.
GC_ERROR ReadLocalPort(const SModule& module, std::uint64_t address, void* buffer,
                       std::size_t size);
// All registers can only be read: answers which refusal it is.
GC_ERROR RefuseLocalWrite(const SModule& module, std::uint64_t address, std::size_t size);

std::string LocalPortUrl(const SModule& module);

} // namespace Standard
