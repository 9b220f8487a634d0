#include "view/customdisplay.h"

#include "camera/imagebuffermanager.h"
#include "camera/visioncamera.h"
#include "camera/visionimagecaptureworker.h"
#include "view/customgraphicsview.h"

#include <QPointer>
#include <QSignalBlocker>
#include <QVBoxLayout>

CustomDisplay::CustomDisplay(QWidget* parent) : QWidget(parent)
{
    m_scene = new CustomGraphicsScene(this);
    m_view = new CustomGraphicsView(m_scene, this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_view);
    connect(m_view, &CustomGraphicsView::Signal_ViewChanged, this, &CustomDisplay::OnVisibleAreaChanged);
    connect(m_view, &CustomGraphicsView::Signal_MouseWheelChanged, this, &CustomDisplay::Signal_MouseWheelChanged);
}

CustomDisplay::~CustomDisplay()
{
    DropCameraConnections();
    // The view goes before the scene: a scene that dies first detaches its views, whose scroll bars then
    // report to this half-destroyed widget.
    disconnect(m_view, nullptr, this, nullptr);
    delete m_view;
    m_view = nullptr;
    delete m_scene;
    m_scene = nullptr;
}

void CustomDisplay::DropCameraConnections()
{
    for (const auto& connection : m_cameraConnections)
        disconnect(connection);
    m_cameraConnections.clear();
}

void CustomDisplay::SetCamera(VisionCamera* camera)
{
    DropCameraConnections();
    if (camera == nullptr || camera->GetImageBufferManager() == nullptr)
    {
        m_scene->SetImageSource({});
        m_scene->SetValueSource({});
        return;
    }
    ImageBufferManager* buffers = camera->GetImageBufferManager();
    // The capture thread already made the 8-bit form of a deeper frame for display: painting from it spares the
    // GUI thread a second conversion of every shown frame. The last image stands in when there is none.
    QPointer<VisionImageCaptureWorker> worker = camera->GetCaptureWorker();
    m_scene->SetImageSource([buffers, worker] {
        if (worker)
            if (std::shared_ptr<orna::ipl::Image> shown = worker->GetLastDisplayImage())
                return shown;
        return buffers->GetLastImage();
    });
    // The pixel values come from the frame itself, not from its 8-bit display form.
    m_scene->SetValueSource([buffers] { return buffers->GetLastImage(); });
    // The manager dies with the camera; from then on there is nothing to paint.
    m_cameraConnections.append(connect(camera, &QObject::destroyed, this, [this] {
        m_scene->SetImageSource({});
        m_scene->SetValueSource({});
    }));
}

void CustomDisplay::SetImageSource(CustomGraphicsScene::ImageSource source)
{
    m_scene->SetImageSource(std::move(source));
}

void CustomDisplay::SetImageSize(int width, int height)
{
    if (width == m_scene->ImageWidth() && height == m_scene->ImageHeight())
        return;
    m_scene->SetImageDimensions(width, height);
    m_scene->setSceneRect(0, 0, width, height);
    if (m_scene->ScaleMode() == 0)
    {
        // One Signal_ParamsChanged for the whole change: the refit's own report is held back.
        const QSignalBlocker blocker(m_view);
        m_view->FitToWindow();
    }
    OnVisibleAreaChanged();
}

int CustomDisplay::ImageWidth() const
{
    return m_scene->ImageWidth();
}

int CustomDisplay::ImageHeight() const
{
    return m_scene->ImageHeight();
}

void CustomDisplay::SetScaleFactor(double factor)
{
    m_view->SetScaleFactor(factor);
}

void CustomDisplay::SetScaleMode(int mode)
{
    m_view->SetScaleMode(mode);
}

double CustomDisplay::GetScaleFactor() const
{
    return m_scene->ScaleFactor();
}

int CustomDisplay::GetScaleMode() const
{
    return m_scene->ScaleMode();
}

QRectF CustomDisplay::VisibleArea() const
{
    return m_scene->VisibleArea();
}

void CustomDisplay::SetDisplayEnabled(bool enabled)
{
    m_scene->SetDisplayEnabled(enabled);
}

bool CustomDisplay::IsDisplayEnabled() const
{
    return m_scene->IsDisplayEnabled();
}

QString CustomDisplay::PositionText(const QPoint& pixel)
{
    return QStringLiteral("(x: %1, y: %2)").arg(pixel.x()).arg(pixel.y());
}

void CustomDisplay::UpdateDisplay()
{
    m_scene->UpdateImage();
    emit ImageReceived();
}

void CustomDisplay::OnVisibleAreaChanged()
{
    m_scene->SetVisibleArea(m_view->ComputeVisibleArea());
    emit Signal_ParamsChanged();
}
