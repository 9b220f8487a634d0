// The camera manager: the control element that lists the cameras (CameraListModel in a CameraListTreeView,
// the current item's roles in a CameraListInfo below a splitter) and starts what is done with one: open,
// close while keeping the window, save the local or the remote XML description, update the list (with CTRL:
// reset the device manager and reload every transport layer).
//
// It does not own the model: whoever builds the main window makes the list first and hands it over, so that
// the list (and with it the device manager) outlives every camera window. It forwards the model's signals.
// Opening and closing are the main window's (Signal_OpenDevice, Signal_CloseDevice).
//
// GUI thread only. The save of an XML description opens a camera that is not open for the time of the
// save, read-only, on the GUI thread (a short node map read).
#pragma once

#include "controlelement/controlelement.h"
#include "controlelement/workspacefields.h"
#include "discovery/cameralistitem.h"

#include <QModelIndex>
#include <QPointer>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orna::core {
class DeviceDescriptor;
struct DeviceReconnectInformation;
} // namespace orna::core

class CameraListInfo;
class CameraListModel;
class CameraListTreeView;
class CustomSwitch;
class IconButton;
class QSplitter;

class CameraManager : public ControlElement, public WorkspaceFields
{
    Q_OBJECT

public:
    CameraManager(QWidget* parent, CameraListModel* model);
    ~CameraManager() override;

    CameraListModel* Model() const { return m_model; }
    CameraListTreeView* TreeView() const { return m_view; }
    CameraListInfo* Info() const { return m_info; }
    QSplitter* Splitter() const { return m_splitter; }
    CustomSwitch* ViewModeSwitch() const { return m_switchViewMode; }
    // The tool buttons after the view mode switch, in their order (open, close, save remote XML, save XML,
    // update, info).
    const std::vector<IconButton*>& ToolButtons() const { return m_buttons; }
    IconButton* ToolButton(const QString& iconFile) const;

    // The descriptor of the device that matches all four strings (producer: its system's key; interface: its
    // interface's key); null when none does.
    std::shared_ptr<orna::core::DeviceDescriptor> FindDescriptor(const QString& serialNumber, const QString& modelName,
                                                                 const QString& producer,
                                                                 const QString& interfaceName) const;

    bool IsBasicView() const;
    void SetBasicView(bool basic);
    bool IsInfoShown() const;
    void SetInfoShown(bool shown);
    // What the row allows: a device row's actions; Save XML for a system or interface row; nothing otherwise.
    std::vector<CameraAction> RowActions(const QModelIndex& index) const;
    // The texts of the context menu of the item, in their order.
    QStringList ContextMenuTexts(const QModelIndex& index) const;
    // The module a description is saved from: a system row, an interface row, or a device row's local or
    // remote device.
    enum class XmlModule
    {
        System = 0,
        Interface = 1,
        LocalDevice = 2,
        RemoteDevice = 3,
    };
    // The default file name of a description: the module's name, its kind and the file type.
    static QString DefaultXmlFileName(const QString& moduleName, XmlModule module, const QString& fileType);
    // The save dialog's filters for a description of that file type ("xml", "zip"): its own first, each once.
    static QString XmlFilters(const QString& fileType);

    // --- WorkspaceFields: the view mode, whether the info pane is shown, and its height.
    QStringList WorkspaceKeys() const override;
    KeyValues WorkspaceValues() const override;
    void ApplyWorkspaceValues(const KeyValues& values) override;

    // Test seams: the save dialog (caption, folder, filters, proposed name; an empty answer cancels) and the
    // yes/no question (title, text). Unset, the themed dialogs run.
    using SaveFileNameFunction =
        std::function<QString(QWidget*, const QString&, const QString&, const QString&, const QString&)>;
    static SaveFileNameFunction& SaveFileNameProvider();
    using QuestionFunction = std::function<bool(QWidget*, const QString&, const QString&)>;
    static QuestionFunction& QuestionProvider();

public Q_SLOTS:
    void OpenDevice(QModelIndex index);
    void CloseDevice(QModelIndex index);
    // The update button with CTRL: resets the device manager, after the question when a camera is open.
    void OnButtonResetDeviceManager();
    void UpdateButtonStates(QModelIndex index);
    void UpdateControls() override;
    void ConnectControls() override;
    void DisconnectControls() override;
    void UpdateStyleSheet() override;
    // Saves the description of a device row's local device (remote false) or remote device, or of a system or
    // interface row's module, as the module gives it (a zipped one stays zipped); false when nothing was
    // written.
    bool SaveXml(QModelIndex index, bool remote);

Q_SIGNALS:
    void CameraFound(std::shared_ptr<orna::core::DeviceDescriptor> deviceDescriptor);
    void CameraLost(std::string key);
    void CameraDisconnected(std::shared_ptr<orna::core::DeviceDescriptor> device);
    void CameraReconnected(std::shared_ptr<orna::core::DeviceDescriptor> device,
                           orna::core::DeviceReconnectInformation reconnectInfo);
    // The main window opens the camera in a window, or closes it and keeps the window.
    void Signal_OpenDevice(std::shared_ptr<orna::core::DeviceDescriptor> descriptor);
    void Signal_CloseDevice(std::shared_ptr<orna::core::DeviceDescriptor> descriptor);
    // A message dialog opens: title and text (offscreen runs close it by themselves).
    void Signal_InfoShown(QString title, QString text);

private Q_SLOTS:
    void OnButtonOpen();
    void OnButtonClose();
    void OnButtonSaveRemoteXml();
    void OnButtonSaveXml();
    void OnButtonUpdate();
    void OnButtonInfo();
    void OnSwitchViewMode(bool expert);
    void OnContextMenu(const QPoint& pos);
    void OnCurrentChanged(const QModelIndex& current);

private:
    IconButton* AddButton(const QString& iconFile);
    void ShowMessage(const QString& title, const QString& text);
    void UpdateTexts() override;

    QPointer<CameraListModel> m_model;
    CameraListTreeView* m_view = nullptr;
    CameraListInfo* m_info = nullptr;
    QSplitter* m_splitter = nullptr;
    CustomSwitch* m_switchViewMode = nullptr;
    IconButton* m_buttonOpen = nullptr;
    IconButton* m_buttonClose = nullptr;
    IconButton* m_buttonSaveRemoteXml = nullptr;
    IconButton* m_buttonSaveXml = nullptr;
    IconButton* m_buttonUpdate = nullptr;
    IconButton* m_buttonInfo = nullptr;
    std::vector<IconButton*> m_buttons;
    // The info pane's height while it is hidden, so that showing it again restores it.
    int m_infoHeight = 120;
};
