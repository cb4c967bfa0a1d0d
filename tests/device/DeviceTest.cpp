#include "Runtime.h"
#include "RuntimeFunctions.h"

TEST(DeviceTest, RecordsListsAndChangesPassThroughTheClientClassesOfAnotherDevice) {
  const std::string log = testing::TempDir() + "tavroline-device.log";
  RuntimeFunctions::logToFile(log);
  Runtime runtime;
  const TavrolineHandle reader = runtime.open(Runtime::kEventReader);
  EXPECT_FALSE(runtime.flag("haslistchanged", nullptr));
  EXPECT_TRUE(fileHolds(log, "1b4e3009 class 2 error 0 info 0: EventlistReadHandle nullpointer"));
  std::remove(log.c_str());

  EXPECT_FALSE(runtime.flag("haslistchanged", reader));
  runtime.logEvent("Gate");
  EXPECT_TRUE(eventually([&] { return runtime.flag("haslistchanged", reader); }));
  EXPECT_EQ(runtime.load(reader), TAVROLINE_DONE);
  const std::vector<stEventlistEntryType> entries = runtime.entries(reader);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].iEventType, TAVROLINE_EVENT);
  EXPECT_STREQ(entries[0].sIconType, "getIconNameEvent");
  EXPECT_EQ(entries[0].wsDescription[3], 'e');
}
