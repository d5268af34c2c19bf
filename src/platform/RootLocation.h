// Platform layer: which folder is the device root: the --root option, else BROVANT_ROOT, else
// "brovant/device" in the user's XDG data folder.
#pragma once

#include <QString>

namespace brovant {

QString resolveRootDir(const QString& rootOption);

} // namespace brovant
