#include <gtest/gtest.h>

#include "ListServiceNames.h"
#include "PrivateBus.h"

TEST(OutsideLayoutTest, anApplicationThatKnowsOnlyOffsetsUsesAllFunctionsOnARealService) {
  const PrivateBus bus;
  const ChildProcess service(TAVROLINE_LISTD, {});
  ASSERT_TRUE(bus.waitForName(ListServiceNames::kService));
  ChildProcess application(TAVROLINE_OUTSIDE_LAYOUT, {TAVROLINE_LIBRARY, "service"});
  EXPECT_EQ(application.wait(Milliseconds(100000)), 0) << application.output();
}
