#include "interface/LogModel.h"

#include <gtest/gtest.h>

#include <QObject>

namespace zpk {
namespace {

std::shared_ptr<const Array> lines(int first, int end) {
  Array array;
  for (int i = first; i < end; ++i) array.emplace_back("line " + std::to_string(i));
  return std::make_shared<const Array>(std::move(array));
}

class LogModelTest : public testing::Test {
 protected:
  LogModelTest() {
    QObject::connect(&model, &QAbstractItemModel::rowsInserted, &model,
                     [this](const QModelIndex&, int from, int to) { inserted += to - from + 1; });
    QObject::connect(&model, &QAbstractItemModel::rowsRemoved, &model,
                     [this](const QModelIndex&, int from, int to) { removed += to - from + 1; });
    QObject::connect(&model, &QAbstractItemModel::modelReset, &model, [this] { ++resets; });
  }
  std::string text(int row) const { return model.data(model.index(row), Qt::DisplayRole).toString().toStdString(); }

  LogModel model;
  int inserted = 0;
  int removed = 0;
  int resets = 0;
};

TEST_F(LogModelTest, GrowingLogInsertsOnlyWhatIsNew) {
  model.setLines(lines(0, 100'000));
  resets = 0;
  model.setLines(lines(0, 100'010));
  EXPECT_EQ(inserted, 10);
  EXPECT_EQ(removed + resets, 0);
  EXPECT_EQ(text(100'009), "line 100009");
}

TEST_F(LogModelTest, SameLogAgainChangesNothing) {
  model.setLines(lines(0, 50));
  resets = 0;
  model.setLines(lines(0, 50));
  EXPECT_EQ(inserted + removed + resets, 0);
}

TEST_F(LogModelTest, LogThatLostItsOldestLinesRemovesThoseAndAppends) {
  model.setLines(lines(0, 1000));
  resets = 0;
  model.setLines(lines(30, 1010));
  EXPECT_EQ(removed, 30);
  EXPECT_EQ(inserted, 10);
  EXPECT_EQ(resets, 0);
  EXPECT_EQ(model.rowCount(), 980);
  EXPECT_EQ(text(0), "line 30");
  EXPECT_EQ(text(979), "line 1009");
}

TEST_F(LogModelTest, AnotherLogIsShownAnewAndNoneIsEmpty) {
  model.setLines(lines(0, 10));
  model.setLines(lines(500, 505));
  EXPECT_EQ(model.rowCount(), 5);
  EXPECT_EQ(text(0), "line 500");
  model.setLines(nullptr);
  EXPECT_EQ(model.rowCount(), 0);
}

TEST_F(LogModelTest, LongLinesAreCutAndWhatIsNoTextIsEmpty) {
  model.setLines(std::make_shared<const Array>(Array{std::string(1'000'000, 'x'), 7, "a\x1B[2Jb"}));
  EXPECT_EQ(model.data(model.index(0), Qt::DisplayRole).toString().size(), 4096);
  EXPECT_EQ(text(1), "");
  EXPECT_EQ(text(2), "a\u241B[2Jb");
}

}  // namespace
}  // namespace zpk
