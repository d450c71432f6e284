#pragma once

#include "rendezvous/rendezvous_event.h"

#include <string_view>

/** Parses the text messages of the rendezvous server, in memory. A number must be on the line of its key. A
 *  member of the event keeps its default when the message has no such key or no readable number. */
namespace zel::rendezvous {

/** Whether the message is "ENDLIST", which ends the answer to a list request. */
bool isEndOfList(std::string_view message) noexcept;
/** Whether the message is about a pen, in either mode. */
bool isPenMessage(std::string_view message) noexcept;
/** The command of a notification. Logs it, with the service port. */
RendezvousCommand commandOf(std::string_view message, std::uint16_t servicePort);
/** Everything except the command. Throws ZELException for an invalid pen id. */
RendezvousEvent parsePenMessage(std::string_view message);

} // namespace zel::rendezvous
