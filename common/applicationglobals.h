// The one process-wide object of the application: fonts, theme colours, grid pitch, language and the
// start-up switches read from the settings store.
//
// Its static members exist before main() runs, so the command-line scan can write developerView before
// QApplication exists, and the skin is chosen from the settings store ("color_skin") during static
// construction. After start-up only the GUI thread writes it; widgets read it directly. Worker threads
// never read colours.
#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class ApplicationGlobals
{
public:
    enum class Skin
    {
        Dark,
        Light
    };

    // --- Start-up switches (filled in the order of MainWindow's construction)
    static inline bool developerView = false;
    static inline QFont fontNormal;
    static inline QFont fontSmall;
    static inline QFont fontLarge;
    static inline QString language;
    static inline QString languagePrevious;
    // Built-in value; the "fade_in_out_time" setting overrides it at start-up.
    static inline int fadeInOutTime = 200;
    // The second built-in value beside fadeInOutTime: steps of a fade per 100 ms.
    static inline int fadeInOutSteps = 6;
    static inline bool showAllPixelFormats = false;
    static inline bool useInternalLut = false;
    static inline int numBuffersUsed = 0;
    static constexpr int gridSize = 20;
    static inline const QString fontFamily = QStringLiteral("Roboto");

    // --- Skin
    static inline bool isLight = false;
    // The dark icon set (light glyphs) belongs to the dark skin.
    static inline bool isDarkIconSet = true;

    // Skin colours by role (see FillColors for the values of both skins).
    static inline QColor colorBackground;
    static inline QColor colorText;
    static inline QColor colorAccent;
    static inline QColor colorToolTipBackground;
    static inline QColor colorWindow;
    static inline QColor colorSelection;
    static inline QColor colorRedLight;
    static inline QColor colorRedStrong;
    static inline QColor colorRedLog;
    static inline QColor colorGreenLight;
    static inline QColor colorGreenStrong;
    static inline QColor colorGreenChart;
    static inline QColor colorBlueLight;
    static inline QColor colorBlueStrong;
    static inline QColor colorBlueLog;
    static inline QColor colorHighlight1;
    static inline QColor colorHighlight2;
    static inline QColor colorHighlight3;
    static inline QColor colorHighlight4;
    static inline QColor colorStatusBlue;
    static inline QColor colorStatusRed;
    static inline QColor colorStatusGreen;
    static inline QColor colorStatusAmber;
    static inline QColor colorOverlayFill;
    // Skin-independent greys.
    static inline QColor colorGrey140;
    static inline QColor colorGrey100;
    static inline QColor colorGrey51;
    static inline QColor colorGrey160;
    // Derived from the skin colours.
    static inline QColor colorBackgroundAlternate;
    static inline QColor colorBackgroundRaised;
    static inline QColor colorBorder;
    static inline QColor colorSeparator;
    static inline QColor colorHover;
    static inline QColor colorPressed;
    static inline QColor colorDisabledText;
    static inline QColor colorDisabledBackground;
    static inline QColor colorAccentHover;
    static inline QColor colorAccentPressed;
    static inline QColor colorGrid;
    static inline QColor colorConnectionLine;
    static inline QColor colorScrollHandle;
    static inline QColor colorInputBackground;
    // Qt::GlobalColor 7 (Qt::gray... in the enum's order: color0, color1, black, white, darkGray, gray,
    // lightGray, red): the one fixed colour that no skin changes.
    static inline QColor colorFixed = QColor(Qt::GlobalColor(7));

    // Icon folders of the current skin, e.g. ":/resources/icon_24x24/dark/".
    static inline QString iconDir24;
    static inline QString iconDir36;
    static inline QString imageDir16;
    static inline QString imageDir48;

    // Fills every colour and icon folder for a skin and sets isLight/isDarkIconSet.
    static void ApplySkin(Skin skin);
    static Skin CurrentSkin() { return isLight ? Skin::Light : Skin::Dark; }
    // "Light" selects light; empty, "Dark" and any other value select dark.
    static Skin SkinFromSetting(const QString& value);
    static QString SkinName(Skin skin)
    {
        return skin == Skin::Light ? QStringLiteral("Light") : QStringLiteral("Dark");
    }

    // Paths of one icon in the current skin, by folder: Icon24("camera.png").
    static QString Icon24(const QString& name) { return iconDir24 + name; }
    static QString Icon36(const QString& name) { return iconDir36 + name; }
    static QString Image16(const QString& name) { return imageDir16 + name; }
    static QString Image48(const QString& name) { return imageDir48 + name; }

    // The application-wide tool tip and base style sheet text built from the current colours and fonts.
    static QString ToolTipStyleSheet();

    // Fills the three fonts from the family "Roboto" (normal 9 pt, small 7 pt, large 11 pt).
    static void FillFonts();

    // Reads "color_skin" from the settings store and applies it. Runs during static construction, before
    // QApplication exists; tests call it again after redirecting the store.
    static void LoadSkinFromSettings();
};
