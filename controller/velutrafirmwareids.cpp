#include "velutrafirmwareids.h"

namespace VelutraFirmwareIds {

const VelutraFirmwareId *find(const QString &applicationName)
{
    for (const VelutraFirmwareId &row : Table) {
        if (applicationName.startsWith(QLatin1String(row.id), Qt::CaseSensitive)) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace VelutraFirmwareIds
