#pragma once

#include "e2e/contract_table.h"
#include "support/scripted_pen.h"

#include "zel/zel.h"

#include <functional>
#include <gtest/gtest.h>
#include <iosfwd>
#include <string>
#include <vector>

/** Every export that talks to a pen, as a table: the fault matrix and the failing allocations are made of
 *  it. What an export promises for each type of result comes from the contract table where that knows it. */
namespace faults {

using contract::Exchange;
using contract::Expected;
using contract::Outcome;
using contract::Sample;
using zel::test::Bytes;

/** What can befall an exchange, as far as exports tell it apart. */
enum class Fault {
    /** The connection ended before the answer was whole. */
    Lost,
    /** The pen's service says that it lost the pen, or answers a list without a status. */
    LostByWord,
    Locked,
    UnknownInstruction,
    /** Any other answer that is decoded and is a failure. */
    Refused,
    /** Bytes that are no value: nothing behind them can be read. */
    Undecodable,
};

/** How the host stands to the pen when it makes the call. */
enum class Mode { Unconnected, Pen, Firmware };

/** What the call is made on; a connecting call stores its handle here. */
struct Handles {
    const DiscoveryHandle *record = nullptr;
    PenHandle *pen = nullptr;
    DfuPenHandle *dfu = nullptr;
};

struct FaultRow {
    std::string name;
    Mode mode = Mode::Pen;
    std::function<Outcome(Handles &)> call;
    std::vector<Exchange> exchanges = {};
    /** The outputs after success, and after a failure with the pen. */
    std::string outputs = {};
    std::string failed = {};
    std::function<Expected(std::size_t exchange, Fault)> whenFault = {};
    /** What a call may come to when the memory runs out. */
    std::vector<Expected> withoutMemory = {{.code = ZEL_ERR_UNEXPECTED}};
    /** Of a call that ends in this failure although every answer is the usual one. */
    std::uint32_t code = ZEL_OK;
    /** Earlier exchanges befall other rows already. */
    std::size_t faultsFrom = 0;
};

void PrintTo(const FaultRow &row, std::ostream *out);
std::string nameOfRow(const testing::TestParamInfo<FaultRow> &row);

/** What most exports make of a fault; after it they ask the pen nothing more. */
Expected usualFailure(Fault fault);

/** All of the table; of an export that asks the pen nothing only its memory can be short. */
const std::vector<FaultRow> &faultRows();
/** Those that ask the pen something. */
std::vector<FaultRow> askingRows();

std::vector<FaultRow> connectionRows();
std::vector<FaultRow> pageRows();
std::vector<FaultRow> firmwareRows();

// Not of the table: too large for each of their bytes, but they take memory in other ways.
FaultRow retrievalOfLargeStrokes();
FaultRow downloadOfALargeBlock();

} // namespace faults
