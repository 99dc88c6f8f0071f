#pragma once

#include <QAbstractListModel>
#include <QIcon>
#include <QStyledItemDelegate>
#include <map>
#include <string>

#include "base/Image.h"
#include "base/Localization.h"
#include "choosers/ZPKDisksListWindow.h"

namespace zpk {

// The disks of the chooser as rows: icon, name, and below it how large the disk is and what it carries. Nothing is
// prepared for a row before it is drawn; an icon is loaded once, with the first row that shows it.
class DisksModel final : public QAbstractListModel {
 public:
  // The second line of a row; the display role has both, for those who read a row aloud.
  static constexpr int kDetailsRole = Qt::UserRole;
  static constexpr int kNameRole = Qt::UserRole + 1;

  DisksModel(const Localization& localization, const ImageLoader& images)
      : _localization(localization), _images(images) {}

  void setDisks(ZPKDisksListWindow::Disks disks);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  QString nameOf(const ZPKDisk& disk) const;
  QString detailsOf(const ZPKDisk& disk) const;
  QString contentOf(const ZPKDisk& disk) const;
  QIcon iconOfDisk(const ZPKDisk& disk) const;

  const Localization& _localization;
  const ImageLoader& _images;
  ZPKDisksListWindow::Disks _disks;
  mutable std::map<std::string, QIcon> _icons;
};

// Draws such a row, the second line fainter. A row is never wider than the list.
class DiskRows final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace zpk
