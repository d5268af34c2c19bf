// Case files holding several tables, each case starting with the kind of table it belongs to.
#pragma once

#include "support/CaseFile.h"

namespace brovant::test {

// The cases of tests/<relative> whose first field is `kind`; none fails the test that asked.
inline QList<Case> casesOf(const QString& relative, const QByteArray& kind)
{
    QList<Case> cases;
    for (const Case& c : readCases(relative)) {
        if (c.fields[0] == kind)
            cases << c;
    }
    EXPECT_FALSE(cases.isEmpty()) << kind.constData() << " in " << relative.toStdString();
    return cases;
}

} // namespace brovant::test
