#include "widgets/program_icon.h"

#include "widgets/skin.h"

namespace vexolo {

QIcon ProgramIcon() {
  NameSkinResources();
  QIcon icon;
  for (const int size : kIconSizes) icon.addFile(QStringLiteral(":/icon/%1").arg(size));
  return icon;
}

}  // namespace vexolo
