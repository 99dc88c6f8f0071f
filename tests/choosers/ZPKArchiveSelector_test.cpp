#include "choosers/ZPKArchiveSelector.h"

#include <gtest/gtest.h>

namespace zpk {
namespace {

struct CountingPanel final : SavePanel {
  void ok() override { ++oks; }
  void cancel() override { ++cancels; }
  int oks = 0;
  int cancels = 0;
};

class ArchiveSelector : public testing::Test {
 protected:
  ArchiveSelector() { selector.setSavePanel(&panel); }
  CountingPanel panel;
  ZPKArchiveSelector selector;
  std::shared_ptr<int> target = std::make_shared<int>(0);
};

TEST_F(ArchiveSelector, WithoutATargetBehavesAsAnOrdinarySavePanel) {
  selector.setOkActionSelector([](ZPKArchiveSelector&) { FAIL() << "no target, no action"; });
  selector.ok();
  selector.cancel();
  EXPECT_EQ(panel.oks, 1);
  EXPECT_EQ(panel.cancels, 1);
}

TEST_F(ArchiveSelector, TargetThatLacksTheOkActionGetsCancelOnly) {
  int cancelled = 0;
  selector.setActionsTarget(target);
  selector.setCancelActionSelector([&](ZPKArchiveSelector& sender) {
    EXPECT_EQ(&sender, &selector);
    ++cancelled;
  });
  selector.ok();
  selector.cancel();
  EXPECT_EQ(panel.oks, 1);
  EXPECT_EQ(panel.cancels, 0);
  EXPECT_EQ(cancelled, 1);
}

TEST_F(ArchiveSelector, OkThatIsRedirectedLeavesThePanelOpen) {
  int sent = 0;
  selector.setActionsTarget(target);
  selector.setOkActionSelector([&](ZPKArchiveSelector& sender) {
    EXPECT_EQ(&sender, &selector);
    ++sent;
  });
  selector.ok();
  EXPECT_EQ(sent, 1);
  EXPECT_EQ(panel.oks, 0);
}

TEST_F(ArchiveSelector, TargetThatIsGoneIsNoTarget) {
  selector.setActionsTarget(target);
  selector.setOkActionSelector([](ZPKArchiveSelector&) { FAIL() << "the target is gone"; });
  target.reset();
  selector.ok();
  EXPECT_EQ(panel.oks, 1);
}

TEST_F(ArchiveSelector, NameWithoutTheAllowedExtensionGetsIt) {
  selector.setAllowedFileTypes({"rldbackup"});
  selector.setURL("/a/b");
  EXPECT_EQ(selector.URL(), "/a/b.rldbackup");
  selector.setURL("/a/b.rldbackup");
  EXPECT_EQ(selector.URL(), "/a/b.rldbackup");
  selector.setURL("/a/b.zip");
  EXPECT_EQ(selector.URL(), "/a/b.zip.rldbackup");
  selector.setURL("/a/.rldbackup");
  EXPECT_EQ(selector.URL(), "/a/.rldbackup.rldbackup");
  selector.setAllowsOtherFileTypes(true);
  selector.setURL("/a/b.zip");
  EXPECT_EQ(selector.URL(), "/a/b.zip");
}

}  // namespace
}  // namespace zpk
