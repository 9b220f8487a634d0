#include "common/applicationglobals.h"

#include "common/settings.h"

namespace {

QColor Shade(const QColor& c, int factor)
{
    // factor > 100 lightens, < 100 darkens; dark colours need lighter(), light ones darker().
    return factor >= 100 ? c.lighter(factor) : c.darker(10000 / factor);
}

// Chooses the skin before main() runs, as the settings store says.
struct SkinLoader
{
    SkinLoader() { ApplicationGlobals::LoadSkinFromSettings(); }
};
const SkinLoader g_skinLoader;

} // namespace

ApplicationGlobals::Skin ApplicationGlobals::SkinFromSetting(const QString& value)
{
    return value == QLatin1String("Light") ? Skin::Light : Skin::Dark;
}

void ApplicationGlobals::LoadSkinFromSettings()
{
    ApplySkin(SkinFromSetting(settings::ReadString("color_skin", QString())));
}

void ApplicationGlobals::ApplySkin(Skin skin)
{
    isLight = skin == Skin::Light;
    isDarkIconSet = !isLight;
    if (!isLight)
    {
        colorBackground = QColor(44, 44, 44);
        colorText = QColor(255, 255, 255);
        colorRedLight = QColor(244, 118, 111);
        colorRedLog = QColor(247, 123, 117);
        colorGreenLight = QColor(135, 200, 138);
        colorGreenChart = QColor(123, 240, 117);
        colorBlueLight = QColor(102, 180, 243);
        colorBlueLog = QColor(110, 192, 247);
        colorHighlight1 = QColor(250, 229, 178);
        colorHighlight2 = QColor(174, 235, 249);
        colorHighlight3 = QColor(246, 203, 246);
        colorHighlight4 = QColor(250, 250, 250);
        colorStatusBlue = QColor(0, 106, 115);
        colorStatusRed = QColor(106, 0, 0);
        colorStatusGreen = QColor(0, 120, 0);
        colorStatusAmber = QColor(204, 96, 0);
        colorOverlayFill = QColor(0, 0, 0, 0);
    }
    else
    {
        colorBackground = QColor(248, 248, 248);
        colorText = QColor(0, 0, 0);
        colorRedLight = QColor(247, 158, 152);
        colorRedLog = QColor(196, 15, 0);
        colorGreenLight = QColor(163, 212, 165);
        colorGreenChart = QColor(4, 136, 0);
        colorBlueLight = QColor(141, 200, 246);
        colorBlueLog = QColor(0, 97, 194);
        colorHighlight1 = QColor(158, 154, 98);
        colorHighlight2 = QColor(90, 163, 166);
        colorHighlight3 = QColor(145, 119, 152);
        colorHighlight4 = QColor(103, 103, 103);
        colorStatusBlue = QColor(140, 206, 223);
        colorStatusRed = QColor(255, 96, 96);
        colorStatusGreen = QColor(96, 187, 96);
        colorStatusAmber = QColor(255, 187, 0);
        colorOverlayFill = QColor(238, 238, 238);
    }
    colorAccent = QColor(0, 138, 150);
    colorToolTipBackground = colorAccent;
    colorWindow = colorAccent;
    colorSelection = colorAccent;
    colorRedStrong = QColor(196, 39, 34);
    colorGreenStrong = QColor(39, 155, 43);
    colorBlueStrong = QColor(12, 129, 202);

    colorGrey140 = QColor(140, 140, 140);
    colorGrey100 = QColor(100, 100, 100);
    colorGrey51 = QColor(51, 51, 51);
    colorGrey160 = QColor(160, 160, 160);

    // Derived: raised surfaces move away from the background, towards the text colour.
    const int towardsText = isLight ? 96 : 125;
    colorBackgroundAlternate = Shade(colorBackground, isLight ? 97 : 115);
    colorBackgroundRaised = Shade(colorBackground, towardsText);
    colorInputBackground = isLight ? QColor(255, 255, 255) : QColor(34, 34, 34);
    colorBorder = isLight ? colorGrey160 : colorGrey100;
    colorSeparator = isLight ? QColor(210, 210, 210) : colorGrey51.lighter(140);
    colorHover = Shade(colorBackground, isLight ? 92 : 150);
    colorPressed = Shade(colorBackground, isLight ? 85 : 180);
    colorDisabledText = isLight ? colorGrey160 : colorGrey100;
    colorDisabledBackground = Shade(colorBackground, isLight ? 95 : 110);
    colorAccentHover = colorAccent.lighter(120);
    colorAccentPressed = colorAccent.darker(120);
    colorGrid = isLight ? QColor(225, 225, 225) : QColor(58, 58, 58);
    colorConnectionLine = colorAccent;
    colorScrollHandle = isLight ? colorGrey160 : colorGrey100;

    const QString skinDir = isDarkIconSet ? QStringLiteral("dark/") : QStringLiteral("light/");
    iconDir24 = QStringLiteral(":/resources/icon_24x24/") + skinDir;
    iconDir36 = QStringLiteral(":/resources/icon_36x36/") + skinDir;
    imageDir16 = QStringLiteral(":/resources/image_16x16/") + skinDir;
    imageDir48 = QStringLiteral(":/resources/image_48x48/") + skinDir;
}

void ApplicationGlobals::FillFonts()
{
    fontNormal = QFont(fontFamily);
    fontNormal.setPointSize(9);
    fontSmall = fontNormal;
    fontSmall.setPointSize(7);
    fontLarge = fontSmall;
    fontLarge.setPointSize(11);
}

QString ApplicationGlobals::ToolTipStyleSheet()
{
    return QStringLiteral("QToolTip { color: ") + colorText.name() + QStringLiteral("; background-color: ") +
           colorToolTipBackground.name() + QStringLiteral("; border: 1px solid ") + colorBorder.name() +
           QStringLiteral("; font-family: ") + fontNormal.family() + QStringLiteral("; font-size: ") +
           QString::number(fontNormal.pointSize()) +
           QStringLiteral("pt; text-align: left; margin: 0px; padding: 3px; spacing: 0px }");
}
