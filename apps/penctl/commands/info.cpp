#include "commands/commands.h"

#include <memory>

#include <fmt/format.h>

#include "commands/info_view.h"
#include "commands/options.h"
#include "commands/pen_json.h"
#include "host/lock_state.h"
#include "host/pen_session.h"
#include "host/pen_status.h"
#include "host/result.h"
#include "host/settings.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/style.h"
#include "ui/terminal.h"

namespace penctl {

namespace {

struct InfoOptions {
    PenChoice choice;
    bool json = false;
};

/** Asks one question after the other; a lost connection ends it, since all later answers would be the same.
 */
class Interview
{
public:
    explicit Interview(PenHandle *pen) : m_pen(pen) {}

    void section(const char *title, const char *key) { m_view.section(title, key); }
    void add(const char *label, const char *key, Reading reading)
    {
        if (reading.code == ZEL_ERR_COMMUNICATION)
            check(reading.code, fmt::format("cannot read {}", label));
        m_view.row(label, key, std::move(reading));
    }
    void setting(const char *label, const char *key, const char *name)
    {
        add(label, key, findSetting(name).get(m_pen));
    }

    const InfoView &view() const { return m_view; }

private:
    PenHandle *m_pen;
    InfoView m_view;
};

void askIdentity(Interview &interview, const PenIdentity &identity, PenHandle *pen)
{
    interview.section("Identity", "identity");
    interview.add("serial", "serial", {ZEL_OK, printable(identity.serial), identity.serial});
    interview.add("pen id", "penId", {ZEL_OK, penIdText(identity.penId), penIdText(identity.penId)});
    interview.add("USB id", "usbId", {ZEL_OK, usbText(identity), usbText(identity)});
    interview.add("product", "product", readProductName(pen));
    interview.setting("revisions", "revisions", "revisions");
}

void askClock(Interview &interview, PenHandle *pen)
{
    interview.section("Clock", "clock");
    interview.setting("time", "timeMillis", "time");
    interview.add("against this host", "driftMillis", readClockDrift(pen));
}

void askPower(Interview &interview, PenHandle *pen)
{
    interview.section("Power", "power");
    interview.add("battery", "battery", readBattery(pen));
    interview.setting("auto power off", "autoPowerOff", "auto-power-off");
    interview.setting("wake-up", "wakeUp", "wake-up");
}

/** The page list of a locked pen fails without saying why. */
Reading readPages(PenHandle *pen, const Reading &locked)
{
    return locked.json == true ? Reading{ZEL_ERR_PEN_LOCKED, "", nullptr} : readPageSummary(pen);
}

void askMemory(Interview &interview, PenHandle *pen, const Reading &locked)
{
    interview.section("Memory", "memory");
    interview.add("used", "bytes", readMemory(pen, showsUnicode(Stream::Output)));
    interview.add("pages", "pages", readPages(pen, locked));
    interview.setting("secure delete", "secureDelete", "secure-delete");
}

void askBluetooth(Interview &interview)
{
    interview.section("Bluetooth", "bluetooth");
    interview.setting("Bluetooth", "enabled", "bluetooth");
    interview.setting("discoverable", "discoverable", "discoverable");
}

void askSecurity(Interview &interview, PenHandle *pen, const Reading &locked)
{
    interview.section("Lock and keys", "security");
    interview.add("lock", "locked", locked);
    interview.add("password hint", "passwordHint", readPasswordHint(pen));
    interview.add("authenticator", "certificateAuthenticator", readCertificateAuthenticator(pen));
    interview.add("signing key", "signingKey", readSigningKey(pen));
    interview.add("encrypted data", "encryptedData", readEncryptedData(pen));
}

void info(const InfoOptions &options)
{
    const PenSession pen(options.choice);
    const Reading locked = readLocked(pen.handle());
    Interview interview(pen.handle());
    askIdentity(interview, pen.identity(), pen.handle());
    askClock(interview, pen.handle());
    askPower(interview, pen.handle());
    askMemory(interview, pen.handle(), locked);
    askBluetooth(interview);
    askSecurity(interview, pen.handle(), locked);
    if (options.json) {
        Json json = penJson(pen.identity());
        interview.view().addTo(json);
        printJson(json);
    } else {
        print(interview.view().text(coloursOn(Stream::Output)));
    }
    check(interview.view().firstFailure(), "some of it cannot be read");
}

} // namespace

void addInfo(CLI::App &program)
{
    auto options = std::make_shared<InfoOptions>();
    CLI::App &command =
        addCommand(program, "info", "Show all that a pen tells of itself", [options] { info(*options); });
    addPen(command, options->choice);
    addJson(command, options->json);
}

} // namespace penctl
