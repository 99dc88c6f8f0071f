#pragma once

#include <QString>

namespace zpk {

// The title of a menu item or button as it is read: without the mark of its mnemonic and the dots that announce a
// question. "Choose &Disk…" gives "Choose Disk".
inline QString plainTitle(QString title) {
  title.replace(QStringLiteral("&&"), QStringLiteral("\n"));
  title.remove(u'&').replace(u'\n', u'&');
  if (title.endsWith(u'…')) title.chop(1);
  return title;
}

}  // namespace zpk
