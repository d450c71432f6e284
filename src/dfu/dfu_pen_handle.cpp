#include "dfu/dfu_pen_handle.h"

#include "sys/exceptions.h"

zel::DfuClient &DfuPenHandle::dfu() const
{
    if (client == nullptr)
        throw zel::PspConnectionException();
    return *client;
}
