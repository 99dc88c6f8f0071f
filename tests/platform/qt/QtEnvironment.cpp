// One application object for all tests of this program.
#include <gtest/gtest.h>

#include <QApplication>
#include <memory>

namespace {

class QtEnvironment final : public testing::Environment {
 public:
  void SetUp() override { _application = std::make_unique<QApplication>(_argumentCount, _arguments); }
  void TearDown() override { _application.reset(); }

 private:
  char _name[5] = "test";
  int _argumentCount = 1;
  char* _arguments[2] = {_name, nullptr};
  std::unique_ptr<QApplication> _application;
};

[[maybe_unused]] const testing::Environment* const environment =
    testing::AddGlobalTestEnvironment(new QtEnvironment);  // owned by GoogleTest

}  // namespace
