#include "platform/MediumFile.h"

#include <QSaveFile>

#include <unistd.h>

namespace brovant {

bool commitToMedium(QSaveFile& file)
{
    if (file.isOpen() && (!file.flush() || ::fdatasync(file.handle()) != 0))
        file.cancelWriting();
    return file.commit();
}

} // namespace brovant
