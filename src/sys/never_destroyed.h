#pragma once

namespace zel {

/** A global that stays as it is while the process ends, for threads that still run then. There from the
 *  beginning and not on the heap: whoever looks at it first needs no memory. */
template <class T>
class NeverDestroyed
{
public:
    constexpr NeverDestroyed() noexcept : m_value() {}
    ~NeverDestroyed() {} // NOLINT(modernize-use-equals-default): a union's would not be there
    NeverDestroyed(const NeverDestroyed &) = delete;
    NeverDestroyed &operator=(const NeverDestroyed &) = delete;

    T &get() noexcept { return m_value; }

private:
    union {
        T m_value;
    };
};

} // namespace zel
