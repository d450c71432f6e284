#pragma once

#include <string>

namespace penctl {

/** A text that does not stay in memory longer than needed: its bytes are overwritten at its end. */
class Secret
{
public:
    explicit Secret(std::string text) : m_text(std::move(text)) {}
    ~Secret() { wipe(); }
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;

    const char *c_str() const { return m_text.c_str(); }
    bool operator==(const Secret &other) const { return m_text == other.m_text; }

private:
    void wipe()
    {
        volatile char *bytes = m_text.data();
        for (std::size_t i = 0; i < m_text.size(); ++i)
            bytes[i] = 0;
    }

    std::string m_text;
};

} // namespace penctl
