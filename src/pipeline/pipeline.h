// The run from go to hand-over: the pre-flight refusals, the domain loop
// with its stop tests and resumption, the encoding with its retry ladder,
// the two authoring engines, and how the run ends.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// The action of go: pre-flight checks, the run, and the end-of-run decision.
void BeginRoutines(JobContext& job);
// The pre-flight check of the encoder and the tools; false refuses the job.
bool CheckEncoder(JobContext& job);
// The run itself.
void StartKestrova(JobContext& job);
// Scenarist's limit on VOB ids; true means the domain is skipped.
bool CheckVOB(JobContext& job, std::size_t menuIndex);
// The failure message and the end of the run.
void AbortJob(JobContext& job, bool ccePhrase);
// Opens (0) or closes (-1) the window's controls for a run.
void ProgramUse(JobContext& job, std::int16_t running);
// Closes the helper windows of the tools.
void StopProcess(JobContext& job);
// A confirmed stop: what the stop button does while a job runs. Returns
// true when the user confirmed.
bool RequestStop(JobContext& job);
// Copies the untouched source files into the result.
void FinishCopying(JobContext& job);
// The orderly end of the process; safe to call twice.
void TerminateProgram(JobContext& job);
// The pause before encoding, when asked for.
void EnablePause(JobContext& job);
// Clears and restores DVD Decrypter's eject option around a job.
void SetDecrypterTray(JobContext& job, bool restore);

// Caption of the main button in a recovery start.
inline constexpr const char* kBeginRecovery = "Begin Recovery";

}  // namespace kestrova
