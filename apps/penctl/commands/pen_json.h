#pragma once

#include "host/pen_identity.h"
#include "ui/json.h"

namespace penctl {

/** The members that stand for a pen wherever one appears: serial, penId, vendorId, productId. Identities are
 * texts: they are names, and 64 bits do not fit the numbers of every JSON reader. */
Json penJson(const PenIdentity &pen);

} // namespace penctl
