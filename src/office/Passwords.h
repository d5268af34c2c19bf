// Office: the web page's passwords, kept as salted PBKDF2-SHA256 hashes, slow on purpose.
#pragma once

#include "data/office/OfficeStore.h"

namespace brovant::office {

constexpr int kPasswordIterations = 100000;

// A user with a fresh salt and the hash of `password`; fewer iterations only where speed matters
// more than the password (tests). The count is stored with the hash.
User hashedUser(const QString& name, Role role, const QString& password,
                int iterations = kPasswordIterations);
// Whether `password` is the user's, compared in constant time.
bool passwordMatches(const User& user, const QString& password);

} // namespace brovant::office
