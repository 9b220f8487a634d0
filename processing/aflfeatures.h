// Software features whose value lives in the auto feature library: skip frames and the brightness
// percentile, target and tolerance. Each reads, writes and ranges the library through callables that its
// provider binds (Bind) when it gets a controller, and logs a failing call with its own text followed by
// the library's, keeping its last value. Unbound, a feature holds no number of its own: it is not available
// (the provider's availability function says so) and reads 0.
//
// Ranges and defaults come from the library alone: UpdateRange reads the range, and when minimum, maximum or
// increment changed, stores them, tells the range and re-reads the value.
//
// Threads: GUI thread, like every feature.
#pragma once

#include "features/softwarefeature.h"

#include <functional>

struct AflFeatureTexts
{
    const char* get;
    const char* set;
    const char* range;
};

class AflLibraryDouble : public DoubleSoftwareFeature
{
    Q_OBJECT

public:
    using Getter = std::function<double()>;
    using Setter = std::function<void(double)>;
    using RangeGetter = std::function<void(double& minimum, double& maximum, double& increment)>;

    AflLibraryDouble(const QString& name, AflFeatureTexts texts, QObject* parent = nullptr);
    // Empty callables detach the feature.
    void Bind(Getter getter, Setter setter, RangeGetter rangeGetter);
    void SetLogOrigin(const QString& origin) { logOrigin = origin; }
    void UpdateRange();

public Q_SLOTS:
    void SetDoubleValue(const double& value) override;
    void UpdateValue() override;

private:
    void Log(const char* text, const char* what) const;

    AflFeatureTexts texts;
    Getter getter;
    Setter setter;
    RangeGetter rangeGetter;
    QString logOrigin = QStringLiteral("-");
};

class AflSkipFrames : public IntegerSoftwareFeature
{
    Q_OBJECT

public:
    using Getter = std::function<int32_t()>;
    using Setter = std::function<void(int32_t)>;
    using RangeGetter = std::function<void(int32_t& minimum, int32_t& maximum, int32_t& increment)>;

    explicit AflSkipFrames(QObject* parent = nullptr);
    void Bind(Getter getter, Setter setter, RangeGetter rangeGetter);
    void SetLogOrigin(const QString& origin) { logOrigin = origin; }
    void UpdateRange();

public Q_SLOTS:
    void SetIntValue(const int64_t& value) override;
    void UpdateValue() override;

private:
    void Log(const char* text, const char* what) const;

    Getter getter;
    Setter setter;
    RangeGetter rangeGetter;
    QString logOrigin = QStringLiteral("-");
};

class AflAutoBrightnessPercentile : public AflLibraryDouble
{
    Q_OBJECT
public:
    explicit AflAutoBrightnessPercentile(QObject* parent = nullptr);
};

class AflAutoBrightnessTarget : public AflLibraryDouble
{
    Q_OBJECT
public:
    explicit AflAutoBrightnessTarget(QObject* parent = nullptr);
};

class AflAutoBrightnessTargetTolerance : public AflLibraryDouble
{
    Q_OBJECT
public:
    explicit AflAutoBrightnessTargetTolerance(QObject* parent = nullptr);
};
