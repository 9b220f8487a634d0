// The one table of every icon the program asks for: its file name, the folders it is shipped in, and
// where the build-time renderer (tools/iconrender) takes its picture from.
//
// Code that needs an icon name and the resource tests read this table; the renderer reads it to make
// the PNG files. Adding an icon means adding one row here (see docs/resources.md). Plain constant data:
// any thread may read it, nothing guards it.
#pragma once

#include <cstddef>

namespace lumivue::resources {

// Icon folders under ":/resources/", each with a "dark" and a "light" skin sub-folder.
enum IconFolder : unsigned
{
    FolderIcon24 = 1u << 0,  // "icon_24x24": tool buttons of 30 by 30
    FolderIcon36 = 1u << 1,  // "icon_36x36": the main toolbar and the larger buttons
    FolderImage16 = 1u << 2, // "image_16x16": tree and list rows
    FolderImage48 = 1u << 3, // "image_48x48": dialogs and hints
    FolderAll = FolderIcon24 | FolderIcon36 | FolderImage16 | FolderImage48,
};

struct IconFolderInfo
{
    IconFolder folder;
    const char* directory;
    int pixels;
};

inline constexpr IconFolderInfo kIconFolders[] = {
    {FolderIcon24, "icon_24x24", 24},
    {FolderIcon36, "icon_36x36", 36},
    {FolderImage16, "image_16x16", 16},
    {FolderImage48, "image_48x48", 48},
};

// "dark" holds light glyphs for the dark skin, "light" dark glyphs for the light skin.
inline constexpr const char* kSkinDirectories[] = {"dark", "light"};

enum class GlyphSource
{
    MaterialDesignIcons, // fonts-materialdesignicons-webfont: glyph = CSS name without "mdi-"
    MaterialIcons,       // fonts-material-design-icons-iconfont: glyph = CSS class after "material-icons."
    BootstrapIcons,      // bootstrap-icons: glyph = SVG file name without ".svg"
    Drawn,               // painted by the renderer itself: glyph = the name of the drawing
};

struct IconEntry
{
    const char* fileName; // as the code asks for it, e.g. "camera.png"
    unsigned folders;     // IconFolder bits
    GlyphSource source;
    const char* glyph;
    int rotation; // degrees clockwise, applied to the glyph
    bool accent;  // a state icon: drawn in the accent colour in both skins
};

// Every name is shipped in every folder: several names appear at more than one size, and a missing
// file would silently show an empty button.
inline constexpr IconEntry kIcons[] = {
    {"arrow-down.png", FolderAll, GlyphSource::MaterialDesignIcons, "arrow-down", 0, false},
    {"arrow-right.png", FolderAll, GlyphSource::MaterialDesignIcons, "arrow-right", 0, false},
    {"bandwidth.png", FolderAll, GlyphSource::MaterialIcons, "network_check", 0, false},
    {"brightness.png", FolderAll, GlyphSource::MaterialDesignIcons, "brightness-6", 0, false},
    {"camera-close.png", FolderAll, GlyphSource::MaterialDesignIcons, "camera-off", 0, false},
    {"camera-file.png", FolderAll, GlyphSource::MaterialIcons, "sd_card", 0, false},
    {"camera-one.png", FolderAll, GlyphSource::MaterialDesignIcons, "camera-iris", 0, false},
    {"camera-play.png", FolderAll, GlyphSource::MaterialIcons, "videocam", 0, false},
    {"camera.png", FolderAll, GlyphSource::MaterialDesignIcons, "camera", 0, false},
    {"camera_manager.png", FolderAll, GlyphSource::MaterialIcons, "video_library", 0, false},
    {"chart-bar.png", FolderAll, GlyphSource::MaterialDesignIcons, "chart-bar", 0, false},
    {"check-bold.png", FolderAll, GlyphSource::MaterialDesignIcons, "check", 0, true},
    {"checkbox-multiple-outline.png", FolderAll, GlyphSource::MaterialDesignIcons, "checkbox-multiple-marked-outline",
     0, false},
    {"chili.png", FolderAll, GlyphSource::BootstrapIcons, "fire", 0, false},
    {"circle.png", FolderAll, GlyphSource::Drawn, "circle", 0, false},
    {"close.png", FolderAll, GlyphSource::MaterialDesignIcons, "close", 0, false},
    {"cog.png", FolderAll, GlyphSource::MaterialDesignIcons, "settings", 0, false},
    {"colors.png", FolderAll, GlyphSource::MaterialDesignIcons, "palette", 0, false},
    {"content-copy.png", FolderAll, GlyphSource::MaterialDesignIcons, "content-copy", 0, false},
    {"content-save.png", FolderAll, GlyphSource::MaterialDesignIcons, "content-save", 0, false},
    {"crosshair.png", FolderAll, GlyphSource::Drawn, "crosshair", 0, false},
    {"dash_dot_dot_line.png", FolderAll, GlyphSource::Drawn, "dash_dot_dot_line", 0, false},
    {"dash_dot_line.png", FolderAll, GlyphSource::Drawn, "dash_dot_line", 0, false},
    {"dash_line.png", FolderAll, GlyphSource::Drawn, "dash_line", 0, false},
    {"delete-forever.png", FolderAll, GlyphSource::MaterialDesignIcons, "delete-forever", 0, false},
    {"display_off.png", FolderAll, GlyphSource::MaterialIcons, "desktop_access_disabled", 0, false},
    {"dot_line.png", FolderAll, GlyphSource::Drawn, "dot_line", 0, false},
    {"download-rxml.png", FolderAll, GlyphSource::MaterialDesignIcons, "file-export", 0, false},
    {"download-xml.png", FolderAll, GlyphSource::MaterialDesignIcons, "file-xml", 0, false},
    {"end.png", FolderAll, GlyphSource::MaterialDesignIcons, "skip-next", 0, false},
    {"error.png", FolderAll, GlyphSource::MaterialDesignIcons, "alert-circle", 0, false},
    {"exclamation-outline.png", FolderAll, GlyphSource::MaterialDesignIcons, "alert-circle-outline", 0, false},
    {"filter-check.png", FolderAll, GlyphSource::MaterialDesignIcons, "filter", 0, false},
    {"fit-in.png", FolderAll, GlyphSource::MaterialIcons, "fit_screen", 0, false},
    {"flash.png", FolderAll, GlyphSource::MaterialDesignIcons, "flash", 0, false},
    {"flip-horizontal.png", FolderAll, GlyphSource::MaterialIcons, "flip", 0, false},
    {"flip-vertical.png", FolderAll, GlyphSource::MaterialIcons, "flip", 90, false},
    {"focus.png", FolderAll, GlyphSource::MaterialIcons, "center_focus_strong", 0, false},
    {"fullscreen.png", FolderAll, GlyphSource::MaterialDesignIcons, "fullscreen", 0, false},
    {"gpio.png", FolderAll, GlyphSource::MaterialDesignIcons, "chip", 0, false},
    {"i2c.png", FolderAll, GlyphSource::MaterialIcons, "developer_board", 0, false},
    {"image-size-select-large.png", FolderAll, GlyphSource::MaterialIcons, "photo_size_select_large", 0, false},
    {"information-outline.png", FolderAll, GlyphSource::MaterialDesignIcons, "information-outline", 0, false},
    {"ip.png", FolderAll, GlyphSource::MaterialDesignIcons, "lan", 0, false},
    {"ip_locked.png", FolderAll, GlyphSource::MaterialIcons, "network_locked", 0, false},
    {"ipl.png", FolderAll, GlyphSource::MaterialDesignIcons, "tune", 0, false},
    {"line-profile-vertical.png", FolderAll, GlyphSource::MaterialDesignIcons, "chart-line", 0, false},
    {"line.png", FolderAll, GlyphSource::Drawn, "line", 0, false},
    {"logger.png", FolderAll, GlyphSource::MaterialDesignIcons, "console", 0, false},
    {"magnify.png", FolderAll, GlyphSource::MaterialDesignIcons, "magnify", 0, false},
    {"message-outline.png", FolderAll, GlyphSource::MaterialDesignIcons, "message-outline", 0, false},
    {"nerd.png", FolderAll, GlyphSource::BootstrapIcons, "eyeglasses", 0, false},
    {"neural-net.png", FolderAll, GlyphSource::MaterialIcons, "hub", 0, false},
    {"nodes.png", FolderAll, GlyphSource::MaterialIcons, "account_tree", 0, false},
    {"opened.png", FolderAll, GlyphSource::MaterialDesignIcons, "lock-outline", 0, true},
    {"pause_recording.png", FolderAll, GlyphSource::MaterialDesignIcons, "pause-circle-outline", 0, false},
    {"pencil.png", FolderAll, GlyphSource::MaterialDesignIcons, "pencil", 0, false},
    {"performance.png", FolderAll, GlyphSource::MaterialDesignIcons, "speedometer", 0, false},
    {"pixel-peek.png", FolderAll, GlyphSource::MaterialDesignIcons, "magnify-plus", 0, false},
    {"rectangle.png", FolderAll, GlyphSource::Drawn, "rectangle", 0, false},
    {"reset.png", FolderAll, GlyphSource::MaterialIcons, "settings_backup_restore", 0, false},
    {"rotate-left.png", FolderAll, GlyphSource::MaterialDesignIcons, "rotate-left", 0, false},
    {"rotate-right.png", FolderAll, GlyphSource::MaterialDesignIcons, "rotate-right", 0, false},
    {"save-settings.png", FolderAll, GlyphSource::MaterialDesignIcons, "content-save-settings", 0, false},
    {"solid_line.png", FolderAll, GlyphSource::Drawn, "solid_line", 0, false},
    {"sparkle.png", FolderAll, GlyphSource::MaterialIcons, "auto_awesome", 0, false},
    {"start.png", FolderAll, GlyphSource::MaterialDesignIcons, "skip-previous", 0, false},
    {"start_recording.png", FolderAll, GlyphSource::MaterialDesignIcons, "record", 0, true},
    {"stop_recording.png", FolderAll, GlyphSource::MaterialDesignIcons, "stop", 0, false},
    {"sync.png", FolderAll, GlyphSource::MaterialDesignIcons, "sync", 0, false},
    {"tag-outline.png", FolderAll, GlyphSource::MaterialDesignIcons, "tag-outline", 0, false},
    {"tape-measure.png", FolderAll, GlyphSource::MaterialDesignIcons, "ruler", 0, false},
    {"text.png", FolderAll, GlyphSource::MaterialDesignIcons, "format-text", 0, false},
    {"trigger.png", FolderAll, GlyphSource::MaterialDesignIcons, "pulse", 0, false},
    {"undo.png", FolderAll, GlyphSource::MaterialDesignIcons, "undo", 0, false},
    {"upgrade.png", FolderAll, GlyphSource::MaterialIcons, "system_update", 0, false},
    {"usb-horizontal.png", FolderAll, GlyphSource::MaterialDesignIcons, "usb", 90, false},
    {"usb_recovery.png", FolderAll, GlyphSource::BootstrapIcons, "usb-plug", 0, false},
    {"video_sequence.png", FolderAll, GlyphSource::BootstrapIcons, "film", 0, false},
    {"view-grid.png", FolderAll, GlyphSource::MaterialDesignIcons, "view-grid", 0, false},
    {"warning.png", FolderAll, GlyphSource::MaterialDesignIcons, "alert", 0, false},
    {"window-maximize.png", FolderAll, GlyphSource::MaterialDesignIcons, "window-maximize", 0, false},
    {"window-restore.png", FolderAll, GlyphSource::MaterialDesignIcons, "window-restore", 0, false},
    {"workspace_add.png", FolderAll, GlyphSource::MaterialIcons, "library_add", 0, false},
    {"zoom-original.png", FolderAll, GlyphSource::Drawn, "zoom-original", 0, false},
};

inline constexpr std::size_t kIconCount = sizeof(kIcons) / sizeof(kIcons[0]);

// The language flags under ":/resources/languages/<name>.png", 24 by 16 pixels.
inline constexpr const char* kLanguageFlags[] = {
    "english", "spanish", "polish", "hungarian", "portuguese", "southkorean", "japanese", "myanmar",
    "german",  "french",  "dutch",  "czech",     "chinese",    "thai",        "italian",  "russian",
};
inline constexpr int kFlagWidth = 24;
inline constexpr int kFlagHeight = 16;

// Fonts under ":/resources/fonts/", registered at start-up in this order.
inline constexpr const char* kFontFiles[] = {
    "Roboto-Regular.ttf",
    "Roboto-Italic.ttf",
    "Roboto-Bold.ttf",
    "Roboto-BoldItalic.ttf",
};

// The accent colour of both skins: state icons, the window icon and the logo mark.
inline constexpr int kAccentRgb[3] = {0, 138, 150};

} // namespace lumivue::resources
