// What a producer is judged by, part by part. Each uses what it is given as consumers do, and
// leaves it as it was.
#pragma once

#include "check/Judgement.h"
#include "grabbing/Acquisition.h"
#include "grabbing/Stream.h"
#include "producers/Discovery.h"

#include <chrono>
#include <functional>

namespace norveltl {

void CheckLibrary(const CProducer& producer, CJudgement& judge);
void CheckSystem(const CSystem& system, CJudgement& judge);
// The description that a module's port names: "the system", "the camera".
void CheckDescription(const CProducer& producer, PORT_HANDLE port, const std::string& module,
                      CJudgement& judge);
void CheckRemotePort(const CProducer& producer, PORT_HANDLE port, CJudgement& judge);

// How much of a stream is looked at: an acquisition and another one, or everything.
enum class EDepth { Acquisitions, Everything };
// What to do, never to come back, when a thread is left inside the producer.
using GiveUp = std::function<void()>;
void CheckStream(const CProducer& producer, DEV_HANDLE device, EDepth depth, CJudgement& judge,
                 const GiveUp& giveUp);

// Parts of that, of a stream whose buffers are announced.
constexpr size_t kCheckBuffers = 4;
constexpr std::chrono::milliseconds kCheckPatience{5000};
// Of a delivered buffer; what the camera's features do not say is not compared.
void CheckImageInfos(const CProducer& producer, DS_HANDLE stream, BUFFER_HANDLE buffer,
                     const SImageFormat& format, CJudgement& judge);
void CheckWaits(const CProducer& producer, CStream& stream, CJudgement& judge);
void CheckInfiniteWait(const CProducer& producer, CStream& stream, const CCameraFacts& camera,
                       CJudgement& judge, const GiveUp& giveUp);
void CheckRestarts(const CProducer& producer, CStream& stream, const CCameraFacts& camera,
                   CJudgement& judge);

} // namespace norveltl
