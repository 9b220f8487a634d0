// An IPv4 address entry (dotted quad, each part 0..255) for the network configuration: text that is no
// address is refused by the validator, so Address() is only read from acceptable input.
//
// GUI thread only.
#pragma once

#include <QLineEdit>

class CustomIpControl : public QLineEdit
{
    Q_OBJECT

public:
    explicit CustomIpControl(QWidget* parent = nullptr);

    // Host byte order, 192.168.0.1 = 0xC0A80001.
    void SetAddress(quint32 address);
    // False (and 0) while the text is no complete address.
    bool Address(quint32* address) const;
    bool IsValid() const { return hasAcceptableInput(); }
    static QString ToText(quint32 address);
    static bool FromText(const QString& text, quint32* address);

public Q_SLOTS:
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_Clicked();

protected:
    void mousePressEvent(QMouseEvent* event) override;
};
