#pragma once

#include <zel/zel.h>

#include "host/reading.h"

namespace penctl {

/** What a pen tells of its state, one question each. */

Reading readProductName(PenHandle *pen);
Reading readPageSummary(PenHandle *pen);

/** How far the pen's clock is from this machine's, seen from the middle of the exchange. */
Reading readClockDrift(PenHandle *pen);

/** The pen's five battery figures, whose meaning depends on the model; "-" for one that is unknown. */
Reading readBattery(PenHandle *pen);

/** Used and total bytes, with a bar. */
Reading readMemory(PenHandle *pen, bool unicode);

/** "yes" or "no" */
Reading readCertificateAuthenticator(PenHandle *pen);
Reading readSigningKey(PenHandle *pen);
Reading readEncryptedData(PenHandle *pen);

} // namespace penctl
