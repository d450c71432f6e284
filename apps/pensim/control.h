#pragma once

#include "service.h"

#include <map>
#include <nlohmann/json.hpp>

namespace pensim {

/** The answer to a command. */
struct ControlAnswer {
    std::string error;           // empty when all is well
    nlohmann::ordered_json data; // null when there is nothing to tell
    std::string text;            // the same for people, in whole lines
    bool quit = false;           // the caller must end the service after delivering the answer

    /** {"ok": true, "data": ..} or {"ok": false, "error": ".."}, in one line. */
    std::string toJsonLine() const;
    /** What is to be told, then "ok" or "error: ..". */
    std::string toText() const;
};

/** Controls a running service. Standard input and the control port both use this class. A command is an
 *  object such as {"command": "set", "pen": 1, "key": "locked", "value": true}; people write the same as
 *  words, `set 1 locked true`. A pen is named by its serial text, its id (0x...) or its number in the list.
 *  Any thread may call. */
class Control
{
public:
    /** Called once, on the service's thread. */
    using Done = std::function<void(const ControlAnswer &)>;

    /** The service must outlive the control. */
    explicit Control(Service &service);
    ~Control(); // commands that still wait are never answered
    Control(const Control &) = delete;
    Control &operator=(const Control &) = delete;

    /** Carries out a command. When this returns, every command except `wait` is done. */
    void run(const nlohmann::json &command, Done done);
    /** The same for a line, of words or of JSON, that may be no command at all. */
    void runLine(const std::string &line, Done done);
    /** The same, and waits for the answer. Not on the service's thread. */
    ControlAnswer runLineAndWait(const std::string &line);

    /** Called on the service's thread with every command that changed something, whoever gave it. */
    void onChange(std::function<void(const nlohmann::json &)> observer);

private:
    struct Wait;
    void carryOut(const nlohmann::json &command, const Done &done);
    void beginWait(const nlohmann::json &arguments, const Done &done);
    void checkWaits();
    void endWait(std::uint64_t number, const std::string &error);

    Service &m_service;
    // Touched on the service's thread:
    std::map<std::uint64_t, Wait> m_waits;
    std::uint64_t m_lastWait = 0;
    std::function<void(const nlohmann::json &)> m_observer;
};

/** A command as the line of words that stands for it. */
std::string wordsOf(const nlohmann::json &command);

} // namespace pensim
