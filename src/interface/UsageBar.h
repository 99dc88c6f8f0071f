#pragma once

#include <QWidget>
#include <cstdint>
#include <optional>

namespace zpk {

// A bar of used and free space: the used part filled, in the warning colour once less than a tenth is free. Sizes
// are bytes. Says its share to assistive technology in words.
class UsageBar final : public QWidget {
 public:
  struct Usage {
    std::uint64_t size = 0;
    std::uint64_t free = 0;
    friend bool operator==(const Usage&, const Usage&) = default;
  };

  explicit UsageBar(QWidget* parent = nullptr);

  void setUsage(Usage usage);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  double usedShare() const;

  Usage _usage;
};

}  // namespace zpk
