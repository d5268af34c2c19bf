#include "office/Passwords.h"

#include <QCryptographicHash>
#include <QPasswordDigestor>
#include <QRandomGenerator>

namespace brovant::office {
namespace {

constexpr int kHashBytes = 32;

QByteArray derive(const QString& password, const QByteArray& salt, int iterations)
{
    return QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha256, password.toUtf8(), salt,
                                              iterations, kHashBytes);
}

} // namespace

User hashedUser(const QString& name, Role role, const QString& password, int iterations)
{
    QByteArray salt(16, Qt::Uninitialized);
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(salt.data()),
                                          salt.size() / 4);
    return User{name, role, salt, derive(password, salt, iterations), iterations};
}

bool passwordMatches(const User& user, const QString& password)
{
    if (user.iterations <= 0 || user.hash.size() != kHashBytes)
        return false;
    const QByteArray given = derive(password, user.salt, user.iterations);
    unsigned char diff = 0;
    for (int i = 0; i < kHashBytes; ++i)
        diff |= static_cast<unsigned char>(given[i] ^ user.hash[i]);
    return diff == 0;
}

} // namespace brovant::office
