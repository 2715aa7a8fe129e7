/** What tests begin with that change the computer: only Wine's prefix is theirs to change. */
#pragma once

#include <gtest/gtest.h>

#include "tests/support/driverservice.h"

/** Skips its tests on a real Windows, where they would install a driver or a service. */
class CWineTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!IsWine()) {
            GTEST_SKIP() << "would install a driver or a service on a real Windows";
        }
    }
};

/** The same for tests that leave AMD's driver service to the next one as they found it: absent. */
class CDriverTest : public CWineTest {
  protected:
    void SetUp() override {
        CWineTest::SetUp();
        RemoveUnderWine();
    }

    // Skipped tests come here, too.
    void TearDown() override { RemoveUnderWine(); }

  private:
    static void RemoveUnderWine() {
        if (IsWine()) {
            RemoveDriverService();
        }
    }
};
