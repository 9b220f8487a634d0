#include "processing/iplgainfeatureprovider.h"

#include "camera/visioncamera.h"
#include "common/logmessagesender.h"
#include "orna/ipl/gain.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <exception>

using orna::ipl::PixelFormat;

IplGainFeatureProvider::IplGainFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplGainFeatureProvider::~IplGainFeatureProvider() = default;

void IplGainFeatureProvider::Log(const QString& context, const QString& message) const
{
    LogMessageSender::Error(GetCamera() ? GetCamera()->GetKeyText() : QStringLiteral("-"), context, message);
}

void IplGainFeatureProvider::SetGainIPL(orna::ipl::Gain* bound)
{
    gain = bound;
    Q_EMIT Changed();
}

void IplGainFeatureProvider::SetSourcePixelFormat(uint32_t format)
{
    FeatureProviderBase::SetPixelFormat(format);
    if (format == sourcePixelFormat.load())
        return;
    bool supported = false;
    try
    {
        if (PixelFormat::IsBayered(format))
        {
            // A packed Bayer intermediate format says nothing new: the stage keeps what it had.
            if (PixelFormat::IsPacked(format))
                return;
            supported = true;
        }
        else
        {
            // Beyond the three mono formats, the unpacked RGB and BGR forms a camera that debayers itself
            // delivers: without them the host white balance would have nothing to act on for such a camera.
            supported = format == orna::ipl::Mono8 || format == orna::ipl::Mono10 || format == orna::ipl::Mono12 ||
                        (PixelFormat::IsColor(format) && orna::ipl::Gain::IsPixelFormatSupported(format));
        }
    }
    catch (const std::exception&)
    {
        // An unknown code: the stage does not run on it.
        supported = false;
    }
    sourcePixelFormat = format;
    formatSupported = supported;
    Q_EMIT Changed();
}

double IplGainFeatureProvider::GetGainRed() const
{
    orna::ipl::Gain* g = gain.load();
    return g ? g->GetRedGainValue() : 1.0;
}

double IplGainFeatureProvider::GetGainGreen() const
{
    orna::ipl::Gain* g = gain.load();
    return g ? g->GetGreenGainValue() : 1.0;
}

double IplGainFeatureProvider::GetGainBlue() const
{
    orna::ipl::Gain* g = gain.load();
    return g ? g->GetBlueGainValue() : 1.0;
}

double IplGainFeatureProvider::GetGainMaster() const
{
    orna::ipl::Gain* g = gain.load();
    return g ? g->GetMasterGainValue() : 1.0;
}

bool IplGainFeatureProvider::IsActive() const
{
    orna::ipl::Gain* g = gain.load();
    return g && formatSupported.load() && !g->IsNeutral();
}

void IplGainFeatureProvider::Process(std::shared_ptr<orna::ipl::Image>& image)
{
    if (image)
        ProcessImage(*image);
}

void IplGainFeatureProvider::ProcessImage(orna::ipl::Image& image)
{
    orna::ipl::Gain* g = gain.load();
    if (!g)
        return;
    try
    {
        g->ProcessInPlace(image);
    }
    catch (const std::exception& e)
    {
        Log(QStringLiteral("void IplGainFeatureProvider::ProcessImage(orna::ipl::Image &)"),
            QStringLiteral("Failed to apply IPL Gain. ") + QString::fromUtf8(e.what()));
    }
}

void IplGainFeatureProvider::SetMasterGain(double value)
{
    orna::ipl::Gain* g = gain.load();
    if (!g)
        return;
    try
    {
        g->SetMasterGainValue(float(value));
    }
    catch (const std::exception& e)
    {
        Log(QStringLiteral("void IplGainFeatureProvider::SetMasterGain(double)"),
            QStringLiteral("Failed to set IPL MasterGain. ") + QString::fromUtf8(e.what()));
    }
}

void IplGainFeatureProvider::SetColorGains(double red, double green, double blue)
{
    orna::ipl::Gain* g = gain.load();
    if (!g)
        return;
    const QString context = QStringLiteral("void IplGainFeatureProvider::SetColorGains(double, double, double)");
    // Each factor on its own: a refused one does not keep the others from being written.
    const struct
    {
        void (orna::ipl::Gain::*set)(float);
        double value;
        const char* text;
    } rows[] = {{&orna::ipl::Gain::SetRedGainValue, red, "Failed to set IPL RedGain. "},
                {&orna::ipl::Gain::SetGreenGainValue, green, "Failed to set IPL GreenGain. "},
                {&orna::ipl::Gain::SetBlueGainValue, blue, "Failed to set IPL BlueGain. "}};
    for (const auto& row : rows)
    {
        try
        {
            (g->*row.set)(float(row.value));
        }
        catch (const std::exception& e)
        {
            Log(context, QString::fromLatin1(row.text) + QString::fromUtf8(e.what()));
        }
    }
}

void IplGainFeatureProvider::Reset()
{
    SetMasterGain(1.0);
    SetColorGains(1.0, 1.0, 1.0);
}
