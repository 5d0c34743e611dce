// SPDX-License-Identifier: MIT
#include "BackendSelection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

using namespace vesk::dnssd;

namespace {

class BackendSelectionTest : public testing::Test
{
protected:
    BackendSelectionTest() { unsetenv("VESK_DNSSD_BACKEND"); }
    ~BackendSelectionTest() override { unsetenv("VESK_DNSSD_BACKEND"); }

    static void setVariable(const char* value) { setenv("VESK_DNSSD_BACKEND", value, 1); }
    BackendKind fixed() { return selection.fix(); }

    /// What fixing it prints on the standard error.
    std::string complaint()
    {
        testing::internal::CaptureStderr();
        selection.fix();
        return testing::internal::GetCapturedStderr();
    }

    BackendSelection selection;
};

} // namespace

TEST_F(BackendSelectionTest, IsAutoUnlessSomethingElseIsChosen)
{
    EXPECT_EQ(selection.current(), BackendKind::Auto);
    EXPECT_EQ(fixed(), BackendKind::Auto);
}

TEST_F(BackendSelectionTest, IsWhatTheEnvironmentSays)
{
    for (const auto& [value, kind] :
         {std::pair("daemon", BackendKind::Daemon), std::pair("process", BackendKind::Process),
          std::pair("auto", BackendKind::Auto), std::pair("", BackendKind::Auto)}) {
        setVariable(value);
        BackendSelection selected;
        EXPECT_EQ(selected.current(), kind) << value;
        EXPECT_EQ(selected.fix(), kind) << value;
    }
}

TEST_F(BackendSelectionTest, IsTheApplicationsRatherThanTheEnvironments)
{
    setVariable("process");
    EXPECT_TRUE(selection.choose(BackendKind::Daemon));
    EXPECT_EQ(selection.current(), BackendKind::Daemon);
    EXPECT_EQ(fixed(), BackendKind::Daemon);
}

TEST_F(BackendSelectionTest, IsTheLastChoice)
{
    EXPECT_TRUE(selection.choose(BackendKind::Daemon));
    EXPECT_TRUE(selection.choose(BackendKind::Process));
    EXPECT_EQ(fixed(), BackendKind::Process);
}

TEST_F(BackendSelectionTest, DoesNotChangeOnceItIsFixed)
{
    setVariable("process");
    EXPECT_EQ(fixed(), BackendKind::Process);
    EXPECT_FALSE(selection.choose(BackendKind::Daemon));
    setVariable("daemon");
    EXPECT_EQ(selection.current(), BackendKind::Process);
    EXPECT_EQ(fixed(), BackendKind::Process);
}

TEST_F(BackendSelectionTest, OfAnUnknownNameIsAutoAndSaysSoOnce)
{
    setVariable("deamon");
    EXPECT_EQ(selection.current(), BackendKind::Auto);
    const std::string said = complaint();
    EXPECT_NE(said.find("VESK_DNSSD_BACKEND"), std::string::npos) << said;
    EXPECT_NE(said.find("\"deamon\""), std::string::npos) << said;
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_EQ(complaint(), "");
    EXPECT_EQ(fixed(), BackendKind::Auto);
}

TEST_F(BackendSelectionTest, OfABackendThatTheLibraryDoesNotHaveIsAuto)
{
    setVariable("memory");
    EXPECT_NE(complaint(), "");
    EXPECT_EQ(fixed(), BackendKind::Auto);
}

TEST_F(BackendSelectionTest, ByTheApplicationNeedsNoValidEnvironment)
{
    setVariable("deamon");
    selection.choose(BackendKind::Process);
    EXPECT_EQ(complaint(), "");
}
