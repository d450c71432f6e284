#pragma once

#include <exception>
#include <string>
#include <utility>

namespace zel {

/** The base class of the library's exceptions. None of them leaves an exported function. */
class ZELException : public std::exception
{
public:
    ZELException() = default;
    explicit ZELException(std::string message) : m_message(std::move(message)) {}

    const char *what() const noexcept override { return m_message.c_str(); }

private:
    std::string m_message;
};

/** A socket failed while talking to the rendezvous server. */
class ZELRendezvousException : public ZELException
{
public:
    using ZELException::ZELException;
};

/** The rendezvous server is gone, or a stop was requested. Ends the listener's loop. */
class ZELRendezvousShutDownException : public ZELRendezvousException
{
public:
    ZELRendezvousShutDownException() : ZELRendezvousException("Process is being shut down.") {}
    using ZELRendezvousException::ZELRendezvousException;
};

/** A stream could not be read or written. */
class IOException : public ZELException
{
public:
    using ZELException::ZELException;
};

/** The connection to a pen's service failed or was lost. */
class PspConnectionException : public ZELException
{
public:
    using ZELException::ZELException;
};

/** The pen answered that it is locked by its password. */
class PspPenIsLockedException : public ZELException
{
public:
    using ZELException::ZELException;
};

/** The pen refused to set a property. */
class PspSetPropertyException : public ZELException
{
public:
    using ZELException::ZELException;
};

/** The pen does not know the instruction. */
class PspUnknownInstructionException : public ZELException
{
public:
    using ZELException::ZELException;
};

/** Caught where a departure is handled, although nothing in the library throws it. */
class PenNotConnectedException : public ZELException
{
public:
    using ZELException::ZELException;
};

} // namespace zel
