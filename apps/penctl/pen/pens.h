#pragma once

#include <string>
#include <vector>

#include <zel/zel.hpp>

#include "ui/output.h"

namespace penctl {

/** Which pen a command is for, and how long it looks for it. */
struct PenChoice {
    /** The pen's serial text; empty for the only pen present. */
    std::string serial;
    /** How long to wait for the first pen, or for the pen named, seconds. */
    double wait = 2;
    /** The silence after an announcement that ends the list, seconds. */
    double settle = 0.3;
};

/** The pens present. The library does not say when the listing is over, so it counts as over when the first
 * pen did not come within `wait`, or no further one within `settle` of the one before. */
std::vector<zelpp::PenInfo> findPens(const zelpp::Discovery &library, const PenChoice &choice);

/** Raises Failure (69), with the time that was waited. */
[[noreturn]] void failWithoutPens(const PenChoice &choice);

/** The pen chosen: the one named, as soon as it is announced, or else the only one present. Raises Failure
 * when it is not there (69), or when none is named and several are present (64, naming them). */
zelpp::PenInfo findPen(const zelpp::Discovery &library, const PenChoice &choice);

/** The library started, the pen chosen found and connected. */
zelpp::Pen openPen(const PenChoice &choice);

/** The pen's serial, fit for a terminal. */
std::string serialOf(const zelpp::Pen &pen);

/** "0x0000012300abcdef" */
std::string penIdText(uint64_t penId);

/** "1209:0001" */
std::string usbText(const zelpp::PenInfo &pen);

/** A pen in JSON: serial, penId, vendorId, productId, and the members of another object behind them.
 * Identities are texts, because many JSON readers cannot hold 64 bits in a number. */
Json penJson(const zelpp::PenInfo &pen, const Json &more = Json::object());

/** Whether a text has the form of a serial, XXX-XXX-XXX-XX, so that it can be told from other arguments. */
bool looksLikeSerial(const std::string &text);

} // namespace penctl
