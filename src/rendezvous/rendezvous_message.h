#pragma once

#include "rendezvous/rendezvous_event.h"

#include <string_view>

/** The text messages of the rendezvous server. They are read from memory, never beyond their end, and
 *  every number ends with its line: what is missing or unreadable leaves the event's default. */
namespace zel::rendezvous {

/** "ENDLIST" ends the answer to a list request. */
bool isEndOfList(std::string_view message) noexcept;
/** Whether this is a message about a pen, of either mode. */
bool isPenMessage(std::string_view message) noexcept;
/** The command word of a notification, logged with the service port. */
RendezvousCommand commandOf(std::string_view message, std::uint16_t servicePort);
/** Everything but the command. Throws ZELException for a pen id that is none. */
RendezvousEvent parsePenMessage(std::string_view message);

} // namespace zel::rendezvous
