#include "interface/DisksModel.h"

#include <QApplication>
#include <QPainter>

#include "app/presentation/ByteSizeString.h"
#include "interface/DisplayText.h"
#include "interface/Pictures.h"
#include "interface/StaticTexts.h"

namespace zpk {
namespace {

constexpr int kRowSpace = 10;
constexpr float kFaint = 0.72F;

QString sizeText(std::uint64_t size) {
  return isolated(QString::fromStdString(byteSizeString(size)));
}

void drawLine(QPainter& painter, const QRect& line, const QStyleOptionViewItem& option, const QString& text) {
  const auto alignment = QStyle::visualAlignment(option.direction, Qt::AlignLeading | Qt::AlignVCenter);
  painter.drawText(line, static_cast<int>(alignment) | Qt::TextSingleLine,
                   option.fontMetrics.elidedText(text, Qt::ElideRight, line.width()));
}

}  // namespace

void DisksModel::setDisks(ZPKDisksListWindow::Disks disks) {
  beginResetModel();
  _disks = std::move(disks);
  endResetModel();
}

int DisksModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(_disks.size());
}

QVariant DisksModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const ZPKDisk& disk = *_disks[static_cast<std::size_t>(index.row())];
  switch (role) {
    case Qt::DisplayRole:
      return QString(nameOf(disk) + u'\n' + detailsOf(disk));
    case Qt::AccessibleTextRole:
      return QString(nameOf(disk) + QStringLiteral(", ") + detailsOf(disk));
    case Qt::DecorationRole:
      return iconOfDisk(disk);
    case kNameRole:
      return nameOf(disk);
    case kDetailsRole:
      return detailsOf(disk);
    default:
      return {};
  }
}

QString DisksModel::nameOf(const ZPKDisk& disk) const {
  const QString name = displayText(disk.name().value_or(""));
  return name.isEmpty() ? localizedText(_localization, "Disk without a name") : name;
}

QString DisksModel::detailsOf(const ZPKDisk& disk) const {
  QString details = sizeText(disk.diskSize());
  const auto add = [&details](const QString& text) {
    if (!text.isEmpty()) details += QStringLiteral(" · ") + text;
  };
  add(contentOf(disk));
  // The system's own name tells two disks of one make apart.
  add(displayText(disk.bsdName().value_or("")));
  return details;
}

QString DisksModel::contentOf(const ZPKDisk& disk) const {
  if (disk.isEmpty()) return localizedText(_localization, "empty");
  const auto windows = disk.isBootCamp() ? disk.objectForKeyedSubscript("winPartition") : nullptr;
  if (!windows) return {};
  const std::string name = windows->name().value_or("");
  const QString size = sizeText(windows->partSize());
  if (name.empty()) return filledText(localizedText(_localization, "Windows (SIZE)"), {{"SIZE", size}});
  return filledText(localizedText(_localization, "Windows on NAME (SIZE)"),
                    {{"NAME", displayText(name)}, {"SIZE", size}});
}

QIcon DisksModel::iconOfDisk(const ZPKDisk& disk) const {
  const auto [icon, isNew] = _icons.try_emplace(disk.iconPath().value_or(""));
  if (isNew) icon->second = iconOf(disk.icon(_images), Symbol::disk);
  return icon->second;
}

void DiskRows::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  QStyleOptionViewItem row = option;
  initStyleOption(&row, index);
  const QStyle& style = *(row.widget ? row.widget->style() : QApplication::style());
  const QRect text = style.subElementRect(QStyle::SE_ItemViewItemText, &row, row.widget)
                         .adjusted(4, kRowSpace / 2, -4, -kRowSpace / 2);
  const bool marked = row.state.testFlag(QStyle::State_Selected);
  row.text.clear();
  // A marked row needs no frame of the focus within it.
  if (marked) row.state.setFlag(QStyle::State_HasFocus, false);
  style.drawControl(QStyle::CE_ItemViewItem, &row, painter, row.widget);

  const auto group = row.state.testFlag(QStyle::State_Active) ? QPalette::Normal : QPalette::Inactive;
  QColor colour = row.palette.color(group, marked ? QPalette::HighlightedText : QPalette::Text);
  painter->save();
  painter->setFont(row.font);
  painter->setPen(colour);
  const int middle = text.center().y();
  drawLine(*painter, QRect(text.topLeft(), QPoint(text.right(), middle)), row,
           index.data(DisksModel::kNameRole).toString());
  if (!marked) colour.setAlphaF(kFaint);
  painter->setPen(colour);
  drawLine(*painter, QRect(QPoint(text.left(), middle + 1), text.bottomRight()), row,
           index.data(DisksModel::kDetailsRole).toString());
  painter->restore();
}

QSize DiskRows::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& /*index*/) const {
  const int lines = 2 * option.fontMetrics.lineSpacing();
  return {1, std::max(lines, option.decorationSize.height()) + kRowSpace};
}

}  // namespace zpk
