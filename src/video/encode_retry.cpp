// Verification of the encoder's results and its retries: see encode_retry.h.
#include "video/encode_retry.h"

#include "job/log_writers.h"

namespace kestrova {

bool ConfirmAssetEncoding(JobContext& job, std::int16_t Attempt) {
    static_cast<void>(Attempt);
    NotYetAvailable(job, "ConfirmAssetEncoding");
    return false;
}

void ConfirmEncoding(JobContext& job) {
    NotYetAvailable(job, "ConfirmEncoding");
}

}  // namespace kestrova
