#include "BusTest.h"

TEST_F(BusTest, AnApplicationThatKnowsOnlyOffsetsUsesAllFunctionsOnARealService) {
  startService();
  ChildProcess application(TAVROLINE_OUTSIDE_LAYOUT, {TAVROLINE_LIBRARY, "service"});
  EXPECT_EQ(application.wait(Milliseconds(100000)), 0) << application.output();
}
