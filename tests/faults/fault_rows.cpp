#include "fault_rows.h"

#include <algorithm>
#include <iterator>
#include <ostream>
#include <utility>

namespace faults {

namespace {

/** The settings, lock, security and status exports: a row there says all that is needed here. */
FaultRow rowOf(const contract::Row &row)
{
    return {.name = row.name,
            .call = [call = row.call](Handles &handles) { return call(handles.pen); },
            .exchanges = row.exchanges,
            .outputs = row.outputs,
            .failed = row.failed,
            .whenFault =
                [locked = row.lockedCode, unknown = row.unknownCode](std::size_t, Fault fault) {
                    if (fault == Fault::Locked)
                        return Expected{.code = locked};
                    if (fault == Fault::UnknownInstruction)
                        return Expected{.code = unknown};
                    return usualFailure(fault);
                },
            // There may be none even for the entry mark, which comes before some outputs are preset.
            .withoutMemory = {{.code = ZEL_ERR_UNEXPECTED, .outputs = row.failed},
                              {.code = ZEL_ERR_UNEXPECTED, .outputs = row.refused}}};
}

void append(std::vector<FaultRow> &rows, std::vector<FaultRow> more)
{
    for (FaultRow &row : more)
        rows.push_back(std::move(row));
}

std::vector<FaultRow> allRows()
{
    std::vector<FaultRow> rows = connectionRows();
    append(rows, pageRows());
    for (const auto &family :
         {contract::settingsRows(), contract::lockRows(), contract::securityRows(), contract::statusRows()})
        for (const contract::Row &row : family)
            rows.push_back(rowOf(row));
    append(rows, firmwareRows());
    return rows;
}

} // namespace

void PrintTo(const FaultRow &row, std::ostream *out)
{
    *out << row.name;
}

std::string nameOfRow(const testing::TestParamInfo<FaultRow> &row)
{
    return row.param.name;
}

Expected usualFailure(Fault fault)
{
    switch (fault) {
    case Fault::Lost:
    case Fault::LostByWord:
        return {.code = ZEL_ERR_COMMUNICATION};
    case Fault::Locked:
        return {.code = ZEL_ERR_PEN_LOCKED};
    default:
        return {.code = ZEL_ERR_UNEXPECTED};
    }
}

const std::vector<FaultRow> &faultRows()
{
    static const std::vector<FaultRow> rows = allRows();
    return rows;
}

std::vector<FaultRow> askingRows()
{
    std::vector<FaultRow> rows;
    std::copy_if(faultRows().begin(), faultRows().end(), std::back_inserter(rows),
                 [](const FaultRow &row) { return !row.exchanges.empty(); });
    return rows;
}

} // namespace faults
