#include "masterdata/ConfigImport.h"

#include "data/Database.h"
#include "data/Dataset.h"
#include "data/FixedRecords.h"
#include "data/Schema.h"
#include "masterdata/SettingsStore.h"
#include "platform/DeviceRoot.h"
#include "platform/KeepAwake.h"
#include "platform/MessageDialogs.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <locale.h>
#include <optional>
#include <stdlib.h>

namespace brovant {
namespace {

constexpr QByteArrayView kHeader = "TD0STAMM300.DAT";

locale_t cLocale()
{
    static const locale_t locale = newlocale(LC_NUMERIC_MASK, "C", nullptr);
    return locale;
}

} // namespace

ConfigImport::ConfigImport(const DeviceRoot& root, Database& db, SettingsStore& store,
                           MessageDialogs& dialogs, KeepAwake* keepAwake)
    : m_root(root)
    , m_db(db)
    , m_store(store)
    , m_dialogs(dialogs)
    , m_keepAwake(keepAwake)
{
}

std::optional<int> ConfigImport::parseInt(QByteArrayView column)
{
    qsizetype i = 0;
    while (i < column.size() && (column[i] == ' ' || (column[i] >= '\t' && column[i] <= '\r')))
        ++i;
    bool negative = false;
    if (i < column.size() && (column[i] == '+' || column[i] == '-'))
        negative = column[i++] == '-';
    std::int64_t value = 0;
    bool digits = false;
    while (i < column.size() && column[i] >= '0' && column[i] <= '9') {
        digits = true;
        if (value < std::numeric_limits<int>::max())
            value = value * 10 + (column[i] - '0');
        ++i;
    }
    if (!digits)
        return std::nullopt;
    value = std::min<std::int64_t>(value, std::numeric_limits<int>::max());
    return int(negative ? -value : value);
}

std::optional<float> ConfigImport::parseFloat(QByteArrayView column)
{
    const QByteArray text = column.toByteArray(); // NUL-terminated copy
    char* end = nullptr;
    const float value = strtof_l(text.constData(), &end, cLocale());
    if (end == text.constData())
        return std::nullopt;
    return value;
}

std::int64_t ConfigImport::hundredths(float cubicMetres)
{
    const float scaled = cubicMetres * 100.0f;
    const double widened = static_cast<double>(scaled) + 0.5;
    // Values no volume column can hold are kept in range instead of overflowing.
    if (std::isnan(widened))
        return 0;
    constexpr double limit = double(std::numeric_limits<int>::max());
    return std::int64_t(std::trunc(std::clamp(widened, -limit, limit)));
}

ConfigImport::Result ConfigImport::run()
{
    const QString path = QString::fromUtf16(kStagedPath);
    QFile file(m_root.hostPath(path));
    if (!m_root.isFile(path) || !file.open(QIODevice::ReadOnly))
        return Result::NoFile;
    const qint64 size = file.size();
    // Awake from the first change on: emptying the old master data is part of the job.
    std::optional<KeepAwake::Scope> awake;
    if (m_keepAwake)
        awake.emplace(*m_keepAwake);

    m_dialogs.info(MessageDialogs::Show, QStringLiteral("Konfiguration wird eingelesen..."));
    m_dialogs.progress(0);

    // The rows are one transaction and the registry one batch: a crash in the middle leaves the
    // previous master data as it was. The two are stored one after the other, so until both are
    // the configuration counts as not loaded (saved at once, outside the batch): a crash between
    // them makes the next start import the staged file again instead of running on new rows with
    // old settings.
    m_store.writeInt(Setting::KonfigLoaded, 0, 0);
    Registry::Batch batch(m_store.profile().registry());
    Database::Transaction transaction(m_db);
    Dataset rows(m_db, schema::Einstellungen);
    bool stored = transaction.active() && m_db.deleteAll(schema::Einstellungen);
    rows.reset();
    m_store.deleteMasterData(false);

    auto finish = [&](Result result) {
        m_dialogs.progress(0);
        m_dialogs.info(MessageDialogs::Hide, QString());
        if (result == Result::Loaded)
            m_store.writeInt(Setting::KonfigLoaded, 0, 1);
        else
            m_store.writeInt(Setting::KonfigLoaded, 0, 0);
        if (result == Result::WrongStructure) {
            // What was read before the bad header stays, as does the emptied table.
            transaction.commit();
            m_dialogs.notice(QStringLiteral("Falsche Struktur der Konfigura-"),
                             QStringLiteral("tion!"));
        } else if (result == Result::Loaded && !transaction.commit()) {
            m_store.writeInt(Setting::KonfigLoaded, 0, 0);
            result = Result::StoreFailed;
        }
        if (result == Result::StoreFailed)
            m_dialogs.notice(QStringLiteral("Fehler beim Speichern der"),
                             QStringLiteral("Konfiguration!"));
        return result;
    };

    // Unlike a list file's, a CR goes wherever it ends the kept text.
    RecordReader reader(file, kLineLimit, RecordReader::CrRule::AtTextEnd);
    QByteArray bytes;
    if (!stored)
        return finish(Result::StoreFailed);
    if (!reader.next(bytes) || Record{bytes}.raw(0, 15) != kHeader)
        return finish(Result::WrongStructure);

    // Working variables keep the last value parsed, as the office software's files expect.
    int kopfCounter = 0, sorteCounter = 0, naCounter = 1, kalCounter = 1, speciesCounter = 1;
    int classCount = 0, choiceCounter = 0, previousField = 0, field = 0;
    int classBound = 0, classDiameter = 0;
    std::array<float, 6> speciesVolumes = {};
    std::int64_t rowNumber = 0;
    qint64 consumedTotal = 0;
    int lineCount = 0;

    auto addRow = [&](int type, const QString& dmstufe, int bhdbis, int bhd, const QString& tarif,
                      std::int64_t kubatur, const QString& region, const QString& species) {
        rows.clearFields();
        rows.setInt(u"ID", rowNumber++);
        rows.setInt(u"ID_TYPE", type);
        rows.setText(u"DMSTUFE", dmstufe);
        rows.setInt(u"BHDBIS", bhdbis);
        rows.setInt(u"BHD", bhd);
        rows.setText(u"TARIF", tarif);
        rows.setInt(u"KUBATUR", kubatur);
        rows.setText(u"REGION_A", region);
        rows.setText(u"BAUMART", species);
    };
    static const char16_t* const kHs[] = {u"HS1", u"HS2", u"HS3", u"HS4", u"HS5", u"HS6"};

    while (reader.next(bytes)) {
        ++lineCount;
        consumedTotal += reader.consumed();
        if (lineCount % kProgressEvery == 0 && size > 0)
            m_dialogs.progress(std::min(100.0, double(consumedTotal) / double(size) * 100.0));

        const Record line{bytes};
        const QByteArray tag = line.raw(0, 3);
        if (tag == "TD0") {
            if (line.raw(0, 15) != kHeader)
                return finish(Result::WrongStructure);
        } else if (tag == "20C") {
            m_store.writeText(Setting::KopfLabel, kopfCounter, line.text(3, 20));
            if (kopfCounter >= 4)
                m_store.writeInt(Setting::Plausi, kopfCounter - 3, line.raw(23, 1) == "1" ? 1 : 0);
            ++kopfCounter;
        } else if (tag == "20D") {
            m_store.writeText(Setting::Sorte, sorteCounter++, line.text(3, 2));
        } else if (tag == "30E") {
            classBound = parseInt(line.raw(5, 3)).value_or(classBound);
            classDiameter = parseInt(line.raw(8, 3)).value_or(classDiameter);
            addRow(schema::DiameterClassRow, line.text(3, 2), classBound, classDiameter, QString(),
                   0, QString(), QString());
            stored = stored && rows.insert();
            ++classCount;
        } else if (tag == "40F") {
            const float volume = parseFloat(line.raw(10, 7)).value_or(0.0f);
            addRow(schema::TariffVolumeRow, line.text(8, 2), 0, 0, line.text(3, 5),
                   hundredths(volume), QString(), QString());
            stored = stored && rows.insert();
        } else if (tag == "510") {
            field = parseInt(line.raw(3, 2)).value_or(field);
            choiceCounter = field != previousField ? 1 : choiceCounter + 1;
            previousField = field;
            m_store.writeChoice(field, choiceCounter, line.text(5, 40));
        } else if (tag == "611") {
            addRow(schema::SpeciesVolumeRow, line.text(6, 2), 0, 0, QString(), 0, QString(),
                   line.text(3, 3));
            for (int i = 0; i < 6; ++i) {
                speciesVolumes[size_t(i)] =
                    parseFloat(line.raw(8 + 6 * i, 6)).value_or(speciesVolumes[size_t(i)]);
                rows.setInt(QStringView(kHs[i]), hundredths(speciesVolumes[size_t(i)]));
            }
            stored = stored && rows.insert();
        } else if (tag == "712") {
            addRow(schema::TariffAssignmentRow, QString(), 0, 0, line.text(14, 5), 0,
                   line.text(3, 8), line.text(11, 3));
            stored = stored && rows.insert();
        } else if (tag == "813") {
            m_store.writeText(Setting::NaKurz, naCounter, line.text(3, 2));
            m_store.writeText(Setting::NaLang, naCounter++, line.text(5, 16));
        } else if (tag == "914") {
            m_store.writeText(Setting::KalKurz, kalCounter, line.text(3, 2));
            m_store.writeText(Setting::KalLang, kalCounter++, line.text(5, 16));
        } else if (tag == "a15") {
            m_store.writeText(Setting::Holzart, speciesCounter++, line.text(3, 3));
        } else if (tag == "b16") {
            m_store.writeText(Setting::Firmenkopf, 1, line.text(3, 40));
            m_store.writeText(Setting::Firmenkopf, 2, line.text(43, 40));
            m_store.writeText(Setting::Firmenkopf, 3, line.text(83, 40));
            m_store.writeText(Setting::Firmenkopf, 4, line.text(123, 80));
            m_store.writeText(Setting::Firmenkopf, 5, line.text(203, 80));
        }
        if (!stored)
            return finish(Result::StoreFailed);
    }

    m_store.writeInt(Setting::Stufenanzahl, 0, classCount);
    return finish(Result::Loaded);
}

} // namespace brovant
