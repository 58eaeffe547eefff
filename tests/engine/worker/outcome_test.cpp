#include "worker/outcome.h"

#include <gtest/gtest.h>

namespace
{

using talo::scan::protocol::Outcome;
using talo::worker::outcome;
using talo::worker::Unseen;

TEST(Outcome, NothingFoundIsClean)
{
    EXPECT_EQ(outcome(CL_CLEAN, nullptr, Unseen::Nothing).outcome, Outcome::Clean);
    EXPECT_EQ(outcome(CL_VERIFIED, nullptr, Unseen::Nothing).outcome, Outcome::Clean);
}

TEST(Outcome, AMatchIsAThreatByItsName)
{
    const auto judgement = outcome(CL_VIRUS, "Win.Trojan.X-1", Unseen::Nothing);
    EXPECT_EQ(judgement.outcome, Outcome::Threat);
    EXPECT_EQ(judgement.detail, "Win.Trojan.X-1");
    EXPECT_EQ(outcome(CL_VIRUS, "Heuristics.Phishing.Email", Unseen::Nothing).outcome,
              Outcome::Threat);
    // What was cut off does not take back what was found.
    EXPECT_EQ(outcome(CL_VIRUS, "Win.Trojan.X-1", Unseen::TooLarge).outcome, Outcome::Threat);
}

TEST(Outcome, WhatWasNotLookedAtIsNeverClean)
{
    struct {
        cl_error_t code;
        const char *name;
        Unseen unseen;
        Outcome outcome;
        const char *detail;
    } const kCases[] = {
        {CL_CLEAN, nullptr, Unseen::TooLarge, Outcome::Skipped,
         "its contents exceed the limits: a part of it is too large"},
        {CL_CLEAN, nullptr, Unseen::NotUnpacked, Outcome::Skipped,
         "a part of it is packed in a form that cannot be unpacked"},
        {CL_VIRUS, nullptr, Unseen::Nothing, Outcome::Skipped, "its contents exceed the limits"},
        {CL_VIRUS, "Heuristics.Limits.Exceeded", Unseen::Nothing, Outcome::Skipped,
         "its contents exceed the limits"},
        {CL_VIRUS, "Heuristics.Limits.Exceeded.MaxScanSize", Unseen::Nothing, Outcome::Skipped,
         "its contents exceed the limits: there is too much to unpack"},
        {CL_VIRUS, "Heuristics.Limits.Exceeded.New", Unseen::Nothing, Outcome::Skipped,
         "its contents exceed the limits: New"},
        {CL_VIRUS, "Heuristics.Encrypted.Zip", Unseen::Nothing, Outcome::Skipped,
         "encrypted; its content cannot be looked at"},
        {CL_ETIMEOUT, nullptr, Unseen::Nothing, Outcome::Skipped,
         "its contents exceed the limits: it takes too long"},
        {CL_EMAXREC, nullptr, Unseen::Nothing, Outcome::Skipped,
         "its contents exceed the limits: it is nested too deep"},
        {CL_EWRITE, nullptr, Unseen::Nothing, Outcome::Skipped,
         "its contents do not fit into the temporary folder"},
        {CL_EREAD, nullptr, Unseen::Nothing, Outcome::Error, "it cannot be read"},
        {CL_EMEM, nullptr, Unseen::Nothing, Outcome::Error, "not enough memory to scan it"},
    };
    for (const auto &wanted : kCases) {
        const auto judgement = outcome(wanted.code, wanted.name, wanted.unseen);
        EXPECT_EQ(judgement.outcome, wanted.outcome) << wanted.detail;
        EXPECT_EQ(judgement.detail, wanted.detail);
    }
    for (int code = CL_ENULLARG; code < CL_ELAST_ERROR; ++code)
        if (code != CL_VERIFIED) {
            const auto judgement = outcome(static_cast<cl_error_t>(code), nullptr, Unseen::Nothing);
            EXPECT_NE(judgement.outcome, Outcome::Clean) << code;
            EXPECT_FALSE(judgement.detail.empty()) << code;
        }
}

TEST(Outcome, WithoutMemoryTheLibraryIsNotTrustedAnyLonger)
{
    EXPECT_TRUE(outcome(CL_EMEM, nullptr, Unseen::Nothing).unsound);
    EXPECT_FALSE(outcome(CL_EWRITE, nullptr, Unseen::Nothing).unsound);
}

} // namespace
