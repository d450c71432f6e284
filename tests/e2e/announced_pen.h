#pragma once

#include "support/scripted_pen.h"

#include "zel/zel.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

/** Everything goes through the public interface, so that the tests run with the shared library too. */
namespace e2e {

template <class Base = testing::Test>
class OnBench : public Base
{
public:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
};

/** Lets the library be initialised, or not, whatever it was before. */
void initialiseLibrary();
void exitLibrary();

/** A pen that the library is connected to, and that answers as the test says. One at a time. */
class AnnouncedPen
{
public:
    static constexpr std::uint64_t kPenId = 0x0000012300ABCDEF;

    enum FailedConnect { kFailedConnect };

    explicit AnnouncedPen(std::uint16_t softwareVersion = 0x0503);
    /** The handle that a connection that failed leaves behind. */
    explicit AnnouncedPen(FailedConnect);
    ~AnnouncedPen();
    AnnouncedPen(const AnnouncedPen &) = delete;
    AnnouncedPen &operator=(const AnnouncedPen &) = delete;

    PenHandle *handle() { return m_handle; }
    /** What the next request that has none yet gets; one that gets none ends the connection. */
    void answer(zel::test::Answer answer);
    /** The requests since the connection was there. */
    std::vector<zel::test::Bytes> requests() const;

private:
    PenHandle *m_handle = nullptr;
};

void openBench();
void closeBench();

template <class Base>
void OnBench<Base>::SetUpTestSuite()
{
    openBench();
}

template <class Base>
void OnBench<Base>::TearDownTestSuite()
{
    closeBench();
}

} // namespace e2e
