// Screen framework: a screen bound to one table. Edits are bound to fields of the dataset's
// current record; loading fills the edits from the record, storing writes them back and saves.
#pragma once

#include "app/KeypadScreen.h"
#include "data/Dataset.h"

#include <QLineEdit>

#include <memory>
#include <utility>
#include <vector>

namespace brovant {

class RecordScreen : public KeypadScreen {
    Q_OBJECT
public:
    RecordScreen(ScreenStack& stack, Database& database, const QString& objectName,
                 const TableDescriptor& table);

    Dataset& dataset() { return *m_dataset; }

    // The edit shows and edits `field`; its length limits the input.
    void bindEdit(QLineEdit* edit, const QString& field);
    // Current record -> edits.
    void loadFields();
    // Edits -> current record buffers.
    void storeFields();
    // Writes the buffers: as a new record when the cursor stands on none.
    bool saveRecord();

private:
    std::unique_ptr<Dataset> m_dataset;
    std::vector<std::pair<QLineEdit*, QString>> m_bindings;
};

} // namespace brovant
