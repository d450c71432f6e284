#include "session/pen_handle.h"

#include "sys/exceptions.h"

zel::PspClient2 &PenHandle::psp() const
{
    if (client == nullptr)
        throw zel::PspConnectionException();
    return *client;
}
