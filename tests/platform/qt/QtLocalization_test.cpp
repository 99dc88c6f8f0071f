#include "platform/qt/QtLocalization.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/qt/QtText.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr std::string_view kGerman = R"(<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>main</name>
    <message><location filename="x.cpp" line="3"/><source>Stop</source><translation>Anhalten</translation></message>
    <message><source>Size &amp; name</source><comment>x</comment><translation>Größe &amp; Name</translation></message>
    <message><source>Backup</source><translation type="unfinished">Sicherung?</translation></message>
    <message><source>Old</source><translation type="vanished">Alt</translation></message>
    <message><source>Empty</source><translation></translation></message>
</context>
<context>
    <name>other</name>
    <message><source>Restore</source><translation>Falsch</translation></message>
</context>
</TS>
)";

class QtLocalizationTest : public testing::Test {
 protected:
  std::string text(const QStringList& languages, std::string_view key) {
    return QtLocalization(qtText(folder.path()), languages, log).localizedString(key);
  }

  TemporaryFolder folder;
  RecordingLog log;
};

TEST_F(QtLocalizationTest, GivesTheFinishedTranslationsOfTheMainContext) {
  folder.put("zpk_de.ts", kGerman);
  const QtLocalization german(qtText(folder.path()), {"de"}, log);
  EXPECT_EQ(german.localizedString("Stop"), "Anhalten");
  EXPECT_EQ(german.localizedString("Size & name"), "Größe & Name");
  for (const std::string_view key : {"Backup", "Old", "Empty", "Restore", "Not there", ""}) {
    EXPECT_EQ(german.localizedString(key), key);
  }
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(QtLocalizationTest, TakesTheFirstOfTheUsersLanguagesThatThereIs) {
  folder.put("zpk_de.ts", kGerman);
  EXPECT_EQ(text({"fr-FR", "fr", "de-AT", "de"}, "Stop"), "Anhalten");
  EXPECT_EQ(text({"fr"}, "Stop"), "Stop");
  EXPECT_EQ(text({}, "Stop"), "Stop");
  folder.put("zpk_de_AT.ts", R"(<TS><context><name>main</name>
    <message><source>Stop</source><translation>Stopp</translation></message></context></TS>)");
  EXPECT_EQ(text({"de-AT", "de"}, "Stop"), "Stopp");
}

TEST_F(QtLocalizationTest, TellsTheLanguageOfItsTextsAndNotThatOfTheUser) {
  folder.put("zpk_de.ts", kGerman);
  const auto language = [this](const QStringList& wanted) {
    return QtLocalization(qtText(folder.path()), wanted, log).language().toStdString();
  };
  EXPECT_EQ(language({"he-IL", "he", "de-DE", "de"}), "de");
  EXPECT_EQ(language({"he-IL", "he"}), "en");
  EXPECT_EQ(language({"en", "de"}), "en");
}

TEST_F(QtLocalizationTest, WhoPrefersEnglishGetsEnglish) {
  folder.put("zpk_de.ts", kGerman);
  for (const char* english : {"en", "en-GB", "en_US", "C"}) EXPECT_EQ(text({english, "de"}, "Stop"), "Stop");
}

TEST_F(QtLocalizationTest, ABrokenFileIsNotUsedAndLogged) {
  for (const std::string_view content : {std::string_view("<html/>"), std::string_view(""),
                                         std::string_view("\xFF\x00", 2), kGerman.substr(0, kGerman.size() - 10)}) {
    log.clear();
    folder.put("zpk_de.ts", content);
    EXPECT_EQ(text({"de"}, "Stop"), "Stop");
    EXPECT_THAT(log.lines(), ElementsAre(StartsWith("ZPKUI::Translation " + folder.path("zpk_de.ts") + ": ")));
  }
}

TEST_F(QtLocalizationTest, AFileBeyondTheLimitIsNotUsedAndLogged) {
  std::string content(kGerman);
  content.append((std::size_t{4} << 20) - content.size(), '\n');
  folder.put("zpk_de.ts", content);
  EXPECT_EQ(text({"de"}, "Stop"), "Anhalten");
  folder.put("zpk_de.ts", content + "\n");
  EXPECT_EQ(text({"de"}, "Stop"), "Stop");
  EXPECT_EQ(log.count("ZPKUI::Translation " + folder.path("zpk_de.ts") + ": too long"), 1u);
}

}  // namespace
}  // namespace zpk
