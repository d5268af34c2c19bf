// After a cold boot the newest numbered backup the program wrote is offered when the device's own
// backup paths hold nothing.
#include "AppLogicFixture.h"

#include "device/BackupService.h"

namespace brovant::test {
namespace {

TEST(ColdBootBackup, NewestNumberedBackupIsOffered)
{
    for (const Answer answer : {Answer::Yes, Answer::No}) {
        TestDevice device;
        device.root.writeFile("Built-in Storage/readme.txt", "");
        device.makeDatabase("Brovant/Save/0003_Auto.cdb", "older");
        device.makeDatabase("Brovant/Save/0004_Manu.cdb", "newest");
        device.makeDatabase("Brovant/Brovant.cdb", "working");
        device.clock.setNow(QDateTime(QDate(2003, 1, 1), QTime(0, 0)));
        device.dialogs.answerNext(answer);
        ASSERT_TRUE(device.app->start()) << device.eventText();
        EXPECT_GE(device.eventIndex("yesNo Kam es zum Programmverlust"), 0) << device.eventText();
        device.session->database().close();
        EXPECT_EQ(device.markerOf("Brovant/Brovant.cdb"),
                  answer == Answer::Yes ? "newest" : "working");
        EXPECT_EQ(device.markerOf("Brovant/Save/0004_Manu.bak.cdb"),
                  answer == Answer::Yes ? "-" : "newest");
    }
}

} // namespace
} // namespace brovant::test
