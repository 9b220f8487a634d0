// The own fields of an element in a workspace file, as a list of key and value pairs.
//
// A panel with own fields (node tree, custom parameters, events, inference, I2C, the camera manager)
// implements this beside ControlElement; the workspace writer asks it for the value of each key the file
// format lists for its type (workspace::FieldKeys, in file order), and the reader hands the values back after
// the element has been linked to its parent. A key the panel does not know is written as "-1".
//
// GUI thread only, like the element itself.
#pragma once

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

class WorkspaceFields
{
public:
    using KeyValues = QList<QPair<QString, QString>>;

    virtual ~WorkspaceFields() = default;

    // The keys this element writes, in the file's order.
    virtual QStringList WorkspaceKeys() const = 0;
    // The value of each key of WorkspaceKeys, in the same order.
    virtual KeyValues WorkspaceValues() const = 0;
    // Takes the values read from a file: numbers are parsed with toInt, and a value that does not parse (or
    // is "-1" where that means missing) leaves the setting as it is.
    virtual void ApplyWorkspaceValues(const KeyValues& values) = 0;
};
