#include <QDebug>
#include <QString>

#include "demo/debug_output.h"

namespace rvn {

void writeBreakpointCount(std::int32_t count) {
  qDebug() << "Number of break points " << count;
}

void formatSiteAndValue(double site, double value) {
  QString text = QString::number(site, 'g', 6);
  text.append(", ").append(QString::number(value, 'g', 6));
}

}  // namespace rvn
