#pragma once

#include "rendezvous/rendezvous_event.h"

#include <string>

/** The text messages of the rendezvous server. They are read from memory, never beyond their end, and
 *  every number ends with its line: what is missing or unreadable leaves the event's default. */
namespace zel::rendezvous {

/** "ENDLIST" ends the answer to a list request. */
bool isEndOfList(const std::string &message) noexcept;
/** Whether this is a message about a pen, of either mode. */
bool isPenMessage(const std::string &message) noexcept;
/** The command word of a notification, logged with the service port. */
RendezvousCommand commandOf(const std::string &message, std::uint16_t servicePort);
/** Everything but the command. Throws ZELException for a pen id that is none. */
RendezvousEvent parsePenMessage(const std::string &message);

} // namespace zel::rendezvous
