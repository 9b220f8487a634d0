// AflAutoMode: the mode of one host auto function ("Off", "Once", "Continuous") as an enumeration software
// feature, so that the same three radios or combo box drive a camera's auto node or the host's auto library.
//
// The provider that owns it binds the library through SetModeFunctions for its AutoModeFeatureTarget (the
// exposure or gain component of the brightness controller, or a controller's own mode); without functions the
// mode is only held in the object. A mode the library reports outside the three entries reads as 255
// "Invalid". A failing library call is logged ("Failed to get AFL Auto mode. " / "Failed to set AFL Auto
// mode. " and the library's text) and the last value is kept.
//
// Threads: GUI thread only; the bound functions are called on it.
#pragma once

#include "features/softwarefeature.h"

#include <functional>

// Which library call a mode reads and writes.
enum class AutoModeFeatureTarget : int
{
    Controller = 0, // the controller's own mode (white balance, focus)
    Exposure = 1,   // brightness component 1
    Gain = 2,       // brightness component 2
};

class AflAutoMode : public EnumerationSoftwareFeature
{
    Q_OBJECT

public:
    static constexpr int64_t Off = 0;
    static constexpr int64_t Once = 1;
    static constexpr int64_t Continuous = 2;
    static constexpr int64_t Invalid = 255;

    // The library's mode; raises a std::exception on failure.
    using Getter = std::function<int64_t()>;
    // Writes a mode to the library; raises a std::exception on failure.
    using Setter = std::function<void(int64_t)>;

    AflAutoMode(const QString& name, AutoModeFeatureTarget target, QObject* parent = nullptr);

    AutoModeFeatureTarget GetTarget() const { return m_target; }
    // Empty functions detach the feature from the library (the value is then held here).
    void SetModeFunctions(Getter getter, Setter setter);
    void SetLogOrigin(const QString& origin) { m_logOrigin = origin; }

    QString GetStringValue(bool update) override;

    // Keeps the current mode across a disconnection; RestoreMode writes it back.
    void SaveMode() { m_savedMode = value; }
    void RestoreMode() { SetIntValue(m_savedMode); }
    int64_t GetSavedMode() const { return m_savedMode; }
    // A write with the feature's signals blocked (an echo of the library that must not write back).
    void SetModeWithoutSignals(int64_t mode);

public Q_SLOTS:
    // One of the three modes; other values are ignored. The same mode again changes and tells nothing.
    void SetIntValue(const int64_t& mode) override;
    void SetStringValue(const QString& text) override;
    // Reads the mode from the library again and tells a change.
    void UpdateValue() override;

private:
    void Store(int64_t mode);

    AutoModeFeatureTarget m_target;
    Getter m_getter;
    Setter m_setter;
    int64_t m_savedMode = Off;
    QString m_logOrigin = QStringLiteral("-");
};
