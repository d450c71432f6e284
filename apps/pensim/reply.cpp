#include "reply.h"

namespace pensim {

Reply Reply::withStatus(std::int32_t status)
{
    Reply reply;
    reply.executed = false;
    reply.status = status;
    return reply;
}

Reply Reply::withValue(Value value)
{
    Reply reply;
    reply.status = 0;
    reply.value = std::move(value);
    return reply;
}

Reply Reply::withBytes(Bytes bytes)
{
    Reply reply;
    reply.bytes = std::move(bytes);
    return reply;
}

Reply Reply::cut(std::size_t count)
{
    Reply reply;
    reply.cutAfter = count;
    reply.ending = Ending::close;
    return reply;
}

Reply Reply::silence()
{
    return withBytes({});
}

Reply Reply::closing()
{
    return silence().then(Ending::close);
}

Reply Reply::resetting()
{
    return silence().then(Ending::reset);
}

Reply Reply::after(std::chrono::milliseconds pause) const
{
    Reply reply = *this;
    reply.delay = pause;
    return reply;
}

Reply Reply::then(Ending end) const
{
    Reply reply = *this;
    reply.ending = end;
    return reply;
}

} // namespace pensim
