// Office: the inbox folder the lists arrive in (the FTP server's upload folder, the cable
// receive's output): every file that has settled is read, stored, and moved to "done/", or with a
// ".reason" file beside it to "rejected/". A file is only moved after its list is committed, so a
// kill at any moment leaves it either stored and done or still in the inbox (and a second intake
// finds it stored and moves it as a duplicate).
#pragma once

#include "data/office/OfficeStore.h"

#include <QString>

#include <functional>

namespace brovant::office {

struct IntakeResult {
    enum class Kind { Imported, Duplicate, Rejected };
    Kind kind = Kind::Rejected;
    QString file;   // the name as it arrived
    QString listNumber;
    std::int64_t id = 0;
    QString reason; // why it was rejected
};

// One file's bytes into the store; the line the import command prints for it.
IntakeResult intakeBytes(OfficeStore& store, const QByteArray& bytes, const QString& fileName);
QString describe(const IntakeResult& result);

class Inbox {
public:
    // Files younger than this may still be uploading.
    static constexpr qint64 kSettleMs = 2000;

    Inbox(OfficeStore& store, QString folder, std::function<QDateTime()> now = {});

    // Takes every settled file once; returns what became of each.
    std::vector<IntakeResult> scan();
    const QString& folder() const { return m_folder; }

private:
    OfficeStore& m_store;
    QString m_folder;
    std::function<QDateTime()> m_now;
};

} // namespace brovant::office
