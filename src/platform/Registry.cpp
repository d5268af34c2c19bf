#include "platform/Registry.h"

#include "platform/MediumFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringDecoder>

#include <variant>

namespace brovant {

namespace {

const QString kHeader = QStringLiteral("Windows Registry Editor Version 5.00");
const QString kDwordTag = QStringLiteral("dword:");
const QString kHexSzTag = QStringLiteral("hex(1):");

// The Windows limits for names.
constexpr qsizetype kMaxKeyName = 255;
constexpr qsizetype kMaxValueName = 16383;
// Windows' limit on the depth of a key tree. Exporting writes every key's full path, so a chain
// of keys without a limit costs memory by the square of its depth (and the recursion its stack).
constexpr qsizetype kMaxKeyDepth = 512;
// Bounds on what a hive may hold, so that a damaged file cannot exhaust memory. A string at the
// limit still fits on one line as hex(1) (6 characters per UTF-16 unit), so what we write we
// can always read back.
constexpr qsizetype kMaxStringChars = qsizetype(1) << 20;
constexpr qsizetype kMaxLineChars = qsizetype(8) << 20;
constexpr qint64 kMaxFileBytes = qint64(64) << 20;

int indexOf(Hive hive)
{
    return hive == Hive::CurrentUser ? 0 : 1;
}

QString fold(const QString& name)
{
    return name.toCaseFolded();
}

bool isControl(char16_t c)
{
    return c < 0x20 || (c >= 0x7f && c <= 0x9f);
}

// Control characters and broken surrogate pairs cannot stand raw in a quoted UTF-8 string.
bool needsHex(QStringView s)
{
    for (qsizetype i = 0; i < s.size(); ++i) {
        const QChar c = s[i];
        if (isControl(c.unicode()) || c.isLowSurrogate())
            return true;
        if (c.isHighSurrogate()) {
            if (i + 1 >= s.size() || !s[i + 1].isLowSurrogate())
                return true;
            ++i;
        }
    }
    return false;
}

bool validKeyName(QStringView name)
{
    return !name.isEmpty() && name.size() <= kMaxKeyName && !name.contains(u'\\')
           && !needsHex(name);
}

bool validValueName(QStringView name)
{
    return name.size() <= kMaxValueName && !needsHex(name);
}

void appendQuoted(QString& out, const QString& s)
{
    out += u'"';
    for (const QChar c : s) {
        if (c == u'\\' || c == u'"')
            out += u'\\';
        out += c;
    }
    out += u'"';
}

// regedit's form for a string it cannot quote: UTF-16LE bytes including the terminating NUL.
void appendHexSz(QString& out, const QString& s)
{
    static const char digits[] = "0123456789abcdef";
    out += kHexSzTag;
    out.reserve(out.size() + (s.size() + 1) * 6);
    auto appendByte = [&out](unsigned byte, bool comma) {
        if (comma)
            out += u',';
        out += QLatin1Char(digits[byte >> 4]);
        out += QLatin1Char(digits[byte & 0xf]);
    };
    bool first = true;
    for (const QChar c : s) {
        appendByte(c.unicode() & 0xff, !first);
        appendByte(c.unicode() >> 8, true);
        first = false;
    }
    appendByte(0, !first);
    appendByte(0, true);
}

int hexDigit(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'a' && u <= u'f')
        return u - u'a' + 10;
    if (u >= u'A' && u <= u'F')
        return u - u'A' + 10;
    return -1;
}

// Reads a quoted string starting at `pos`, leaving `pos` after the closing quote. Only \\ and \"
// are escapes; anything else after a backslash is damage.
bool readQuoted(QStringView line, qsizetype& pos, QString& out)
{
    if (pos >= line.size() || line[pos] != u'"')
        return false;
    ++pos;
    while (pos < line.size()) {
        const QChar c = line[pos++];
        if (c == u'"')
            return true;
        if (c == u'\\') {
            if (pos >= line.size() || (line[pos] != u'\\' && line[pos] != u'"'))
                return false;
            out += line[pos++];
        } else {
            out += c;
        }
    }
    return false;
}

bool parseDword(QStringView text, quint32& value)
{
    if (text.size() != 8)
        return false;
    value = 0;
    for (const QChar c : text) {
        const int d = hexDigit(c);
        if (d < 0)
            return false;
        value = (value << 4) | quint32(d);
    }
    return true;
}

bool parseHexSz(QStringView text, QString& value)
{
    // "xx" and then ",xx" for every further byte.
    if (text.size() < 5 || (text.size() + 1) % 3 != 0)
        return false;
    const qsizetype count = (text.size() + 1) / 3;
    if (count % 2 != 0)
        return false;
    QByteArray bytes(count, Qt::Uninitialized);
    for (qsizetype i = 0; i < count; ++i) {
        const qsizetype at = i * 3;
        if (i > 0 && text[at - 1] != u',')
            return false;
        const int high = hexDigit(text[at]);
        const int low = hexDigit(text[at + 1]);
        if (high < 0 || low < 0)
            return false;
        bytes[i] = char(high << 4 | low);
    }
    if (bytes[count - 1] != 0 || bytes[count - 2] != 0)
        return false;
    const qsizetype units = count / 2 - 1;
    value.resize(units);
    for (qsizetype i = 0; i < units; ++i)
        value[i] = QChar(char16_t(uchar(bytes[2 * i]) | uchar(bytes[2 * i + 1]) << 8));
    return true;
}

QStringView trimmedRight(QStringView s)
{
    qsizetype end = s.size();
    while (end > 0 && (s[end - 1] == u' ' || s[end - 1] == u'\t'))
        --end;
    return s.first(end);
}

} // namespace

struct Registry::Key {
    using Data = std::variant<quint32, QString>;
    struct Value {
        QString name;
        Data data;
    };

    QString name;
    // Both maps are keyed by the case-folded name, which also gives the stable export order.
    std::map<QString, std::unique_ptr<Key>> children;
    std::map<QString, Value> values;

    Key* child(const QString& childName) const
    {
        const auto it = children.find(fold(childName));
        return it == children.end() ? nullptr : it->second.get();
    }

    Key* addChild(const QString& childName)
    {
        auto& slot = children[fold(childName)];
        if (!slot) {
            slot = std::make_unique<Key>();
            slot->name = childName;
        }
        return slot.get();
    }

    const Value* value(const QString& valueName) const
    {
        const auto it = values.find(fold(valueName));
        return it == values.end() ? nullptr : &it->second;
    }

    // An existing value keeps the spelling of its name.
    void setValue(const QString& valueName, Data data)
    {
        values.try_emplace(fold(valueName), Value{valueName, {}}).first->second.data =
            std::move(data);
    }

    void appendValues(QString& out) const
    {
        for (const auto& [folded, v] : values) {
            if (v.name.isEmpty())
                out += u'@';
            else
                appendQuoted(out, v.name);
            out += u'=';
            if (const quint32* dw = std::get_if<quint32>(&v.data)) {
                out += kDwordTag;
                out += QStringLiteral("%1").arg(*dw, 8, 16, QLatin1Char('0'));
            } else {
                const QString& s = std::get<QString>(v.data);
                if (needsHex(s))
                    appendHexSz(out, s);
                else
                    appendQuoted(out, s);
            }
            out += u'\n';
        }
    }

    // Parents before children, each key its own section so that empty keys survive.
    void appendSubtree(QString& out, const QString& path) const
    {
        for (const auto& [folded, key] : children) {
            const QString keyPath = path + u'\\' + key->name;
            out += u'\n';
            out += u'[';
            out += keyPath;
            out += QLatin1String("]\n");
            key->appendValues(out);
            key->appendSubtree(out, keyPath);
        }
    }
};

struct Registry::HiveData {
    Key root;
    bool dirty = false;

    Key* find(const QString& path) const
    {
        const Key* key = &root;
        for (const QString& part : path.split(u'\\', Qt::SkipEmptyParts)) {
            key = key->child(part);
            if (!key)
                return nullptr;
        }
        return const_cast<Key*>(key);
    }

    // Checks every name first, so that a bad path creates nothing.
    Key* findOrCreate(const QString& path)
    {
        const QStringList parts = path.split(u'\\', Qt::SkipEmptyParts);
        if (parts.size() > kMaxKeyDepth)
            return nullptr;
        for (const QString& part : parts) {
            if (!validKeyName(part))
                return nullptr;
        }
        Key* key = &root;
        for (const QString& part : parts)
            key = key->addChild(part);
        return key;
    }

    QString sections(const QString& hiveName) const
    {
        QString out;
        if (!root.values.empty()) {
            out += QLatin1String("\n[") + hiveName + QLatin1String("]\n");
            root.appendValues(out);
        }
        root.appendSubtree(out, hiveName);
        return out;
    }

    Key* openSection(QStringView path, const QString& hiveName)
    {
        const QList<QStringView> parts = path.split(u'\\');
        if (parts.front().compare(hiveName, Qt::CaseInsensitive) != 0
            || parts.size() - 1 > kMaxKeyDepth)
            return nullptr;
        Key* key = &root;
        for (qsizetype i = 1; i < parts.size(); ++i) {
            if (!validKeyName(parts[i]))
                return nullptr;
            key = key->addChild(parts[i].toString());
        }
        return key;
    }

    static bool parseValue(QStringView line, Key::Value& value)
    {
        qsizetype pos = 0;
        if (line.startsWith(u'@')) {
            pos = 1;
        } else if (!readQuoted(line, pos, value.name) || value.name.isEmpty()
                   || !validValueName(value.name)) {
            return false;
        }
        if (pos >= line.size() || line[pos] != u'=')
            return false;
        const QStringView data = line.sliced(pos + 1);
        if (data.startsWith(u'"')) {
            QString s;
            qsizetype at = 0;
            if (!readQuoted(data, at, s) || at != data.size() || s.size() > kMaxStringChars)
                return false;
            value.data = std::move(s);
            return true;
        }
        if (data.startsWith(kDwordTag, Qt::CaseInsensitive)) {
            quint32 dw = 0;
            if (!parseDword(data.sliced(kDwordTag.size()), dw))
                return false;
            value.data = dw;
            return true;
        }
        if (data.startsWith(kHexSzTag, Qt::CaseInsensitive)) {
            QString s;
            if (!parseHexSz(data.sliced(kHexSzTag.size()), s) || s.size() > kMaxStringChars)
                return false;
            value.data = std::move(s);
            return true;
        }
        return false;
    }

    // Accepts what sections() writes plus blank lines, ';' comments, CR LF line ends, a UTF-8
    // BOM and regedit's "\" continuation of long hex lines; anything else is damage.
    bool parse(QByteArrayView bytes, const QString& hiveName)
    {
        if (bytes.startsWith("\xEF\xBB\xBF"))
            bytes = bytes.sliced(3);
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
        const QString text = decoder.decode(bytes);
        if (decoder.hasError())
            return false;

        const QList<QStringView> lines = QStringView(text).split(u'\n');
        qsizetype next = 0;
        // One physical line without its line end; false for control characters and huge lines.
        auto takeLine = [&lines, &next](QStringView& line) {
            line = lines[next++];
            if (line.endsWith(u'\r'))
                line.chop(1);
            if (line.size() > kMaxLineChars)
                return false;
            for (const QChar c : line) {
                if (c != u'\t' && isControl(c.unicode()))
                    return false;
            }
            line = trimmedRight(line);
            return true;
        };

        QStringView line;
        if (!takeLine(line) || line != kHeader)
            return false;
        Key* current = nullptr;
        while (next < lines.size()) {
            if (!takeLine(line))
                return false;
            const QStringView content = line.trimmed();
            if (content.isEmpty() || content.startsWith(u';'))
                continue;
            if (line.startsWith(u'[')) {
                if (!line.endsWith(u']') || line.size() < 2)
                    return false;
                current = openSection(line.sliced(1, line.size() - 2), hiveName);
                if (!current)
                    return false;
                continue;
            }
            if (!current)
                return false;

            QString joined;
            if (line.endsWith(u'\\')) {
                joined = line.toString();
                while (joined.endsWith(u'\\')) {
                    QStringView more;
                    if (next >= lines.size() || !takeLine(more))
                        return false;
                    joined.chop(1);
                    joined += more.trimmed();
                    if (joined.size() > kMaxLineChars)
                        return false;
                }
                line = joined;
            }
            Key::Value value;
            if (!parseValue(line, value))
                return false;
            current->values[fold(value.name)] = std::move(value);
        }
        return true;
    }

    static bool sameData(const Key::Value* existing, const Key::Data& data)
    {
        return existing && existing->data == data;
    }
};

Registry::Registry(QString folder)
    : m_folder(std::move(folder))
{
    for (auto& hive : m_hives)
        hive = std::make_unique<HiveData>();
    load(Hive::CurrentUser);
    load(Hive::LocalMachine);
}

Registry::~Registry()
{
    // Only left dirty when an earlier save failed; one more try.
    flush();
}

QString Registry::hiveName(Hive hive)
{
    return hive == Hive::CurrentUser ? QStringLiteral("HKEY_CURRENT_USER")
                                     : QStringLiteral("HKEY_LOCAL_MACHINE");
}

QString Registry::hiveFile(Hive hive) const
{
    return QDir(m_folder).filePath(hiveName(hive) + QLatin1String(".reg"));
}

Registry::Key* Registry::find(Hive hive, const QString& key) const
{
    return m_hives[indexOf(hive)]->find(key);
}

Registry::Key* Registry::findOrCreate(Hive hive, const QString& key)
{
    return m_hives[indexOf(hive)]->findOrCreate(key);
}

bool Registry::keyExists(Hive hive, const QString& key) const
{
    return find(hive, key) != nullptr;
}

bool Registry::createKey(Hive hive, const QString& key)
{
    if (keyExists(hive, key))
        return true;
    if (!findOrCreate(hive, key))
        return false;
    changed(hive);
    return saved(hive);
}

bool Registry::deleteKey(Hive hive, const QString& key)
{
    const QStringList parts = key.split(u'\\', Qt::SkipEmptyParts);
    if (parts.isEmpty())
        return false; // the hive itself stays
    Key* parent = find(hive, parts.mid(0, parts.size() - 1).join(u'\\'));
    if (!parent || parent->children.erase(fold(parts.back())) == 0)
        return false;
    changed(hive);
    return saved(hive);
}

QStringList Registry::subkeys(Hive hive, const QString& key) const
{
    QStringList names;
    if (const Key* k = find(hive, key)) {
        for (const auto& [folded, child] : k->children)
            names << child->name;
    }
    return names;
}

QStringList Registry::valueNames(Hive hive, const QString& key) const
{
    QStringList names;
    if (const Key* k = find(hive, key)) {
        for (const auto& [folded, value] : k->values)
            names << value.name;
    }
    return names;
}

std::optional<quint32> Registry::dword(Hive hive, const QString& key, const QString& name) const
{
    const Key* k = find(hive, key);
    const Key::Value* v = k ? k->value(name) : nullptr;
    if (!v || !std::holds_alternative<quint32>(v->data))
        return std::nullopt;
    return std::get<quint32>(v->data);
}

std::optional<QString> Registry::string(Hive hive, const QString& key, const QString& name) const
{
    const Key* k = find(hive, key);
    const Key::Value* v = k ? k->value(name) : nullptr;
    if (!v || !std::holds_alternative<QString>(v->data))
        return std::nullopt;
    return std::get<QString>(v->data);
}

bool Registry::setDword(Hive hive, const QString& key, const QString& name, quint32 value,
                        Create create)
{
    return validValueName(name) && setData(hive, key, name, value, create);
}

bool Registry::setString(Hive hive, const QString& key, const QString& name, const QString& value,
                         Create create)
{
    return validValueName(name) && value.size() <= kMaxStringChars
           && setData(hive, key, name, value, create);
}

bool Registry::setData(Hive hive, const QString& key, const QString& name,
                       const std::variant<quint32, QString>& value, Create create)
{
    const bool existed = keyExists(hive, key);
    if (!existed && create == Create::No)
        return false;
    Key* k = findOrCreate(hive, key);
    if (!k)
        return false;
    if (existed && HiveData::sameData(k->value(name), value))
        return true;
    k->setValue(name, value);
    changed(hive);
    return saved(hive);
}

bool Registry::deleteValue(Hive hive, const QString& key, const QString& name)
{
    Key* k = find(hive, key);
    if (!k || k->values.erase(fold(name)) == 0)
        return false;
    changed(hive);
    return saved(hive);
}

QString Registry::exportText() const
{
    return kHeader + u'\n' + m_hives[0]->sections(hiveName(Hive::CurrentUser))
           + m_hives[1]->sections(hiveName(Hive::LocalMachine));
}

QString Registry::exportHive(Hive hive) const
{
    return kHeader + u'\n' + m_hives[indexOf(hive)]->sections(hiveName(hive));
}

Registry::Batch::Batch(Registry& registry)
    : m_registry(registry)
{
    ++m_registry.m_batchDepth;
}

Registry::Batch::~Batch()
{
    if (--m_registry.m_batchDepth == 0)
        m_registry.flush();
}

bool Registry::flush()
{
    bool ok = true;
    for (const Hive hive : {Hive::CurrentUser, Hive::LocalMachine}) {
        if (m_hives[indexOf(hive)]->dirty)
            ok = save(hive) && ok;
    }
    return ok;
}

bool Registry::saved(Hive hive) const
{
    return m_batchDepth > 0 || !m_hives[indexOf(hive)]->dirty;
}

// A failed save leaves the change in memory and the hive dirty, so the next save retries it.
void Registry::changed(Hive hive)
{
    m_hives[indexOf(hive)]->dirty = true;
    if (m_batchDepth == 0)
        save(hive);
}

bool Registry::save(Hive hive)
{
    if (!QDir().mkpath(m_folder))
        return false;
    // A temporary file, synced and renamed over the old one: the hive is whole or as it was.
    QSaveFile file(hiveFile(hive));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // The hives hold the FTP name and password: owner only, set before anything is written. A
    // file system without modes (a FAT card) refuses, which must not stop the save.
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const QByteArray bytes = exportHive(hive).toUtf8();
    if (file.write(bytes) != bytes.size() || !commitToMedium(file))
        return false;
    m_hives[indexOf(hive)]->dirty = false;
    return true;
}

void Registry::load(Hive hive)
{
    HiveData& data = *m_hives[indexOf(hive)];
    const QString path = hiveFile(hive);
    const QFileInfo info(path);
    if (!info.exists())
        return;
    QFile file(path);
    if (info.isFile() && info.size() <= kMaxFileBytes && file.open(QIODevice::ReadOnly)) {
        const QByteArray bytes = file.readAll();
        file.close();
        if (data.parse(bytes, hiveName(hive)))
            return;
    }
    data.root = Key{};
    // Keep the damaged file for inspection instead of overwriting it with the next save.
    const QString aside = path + QLatin1String(".corrupt");
    QFile::remove(aside);
    if (!QFile::rename(path, aside))
        qWarning("Registry: cannot set aside damaged hive file %s", qPrintable(path));
    m_setAside << path;
}

} // namespace brovant
