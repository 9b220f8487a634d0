#include "controlelement/dockingwidget.h"

#include "common/applicationglobals.h"
#include "controlelement/controlelement.h"

#include <QFrame>
#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QPropertyAnimation>
#include <QVBoxLayout>

DockingWidget::DockingWidget(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("DockingWidget"));
    setAttribute(Qt::WA_StyledBackground, true);

    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_hintLabel = new QLabel(this);
    m_hintLabel->setFixedSize(kHintWidth, kHintHeight);
    m_hintLabel->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_layout->addWidget(m_hintLabel, 0, Qt::AlignCenter);

    m_highlightFrame = new QFrame(this);
    m_highlightFrame->setObjectName(QStringLiteral("DockingHighlight"));
    m_highlightFrame->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_highlightFrame->hide();
    m_highlightEffect = new QGraphicsOpacityEffect(m_highlightFrame);
    m_highlightEffect->setOpacity(0.0);
    m_highlightFrame->setGraphicsEffect(m_highlightEffect);
    m_highlightAnimation = new QPropertyAnimation(m_highlightEffect, "opacity", this);

    UpdateStyleSheet();
}

void DockingWidget::SetGridVisible(bool visible)
{
    m_gridVisible = visible;
    update();
}

void DockingWidget::SetGridOffset(int offset)
{
    m_gridOffset = std::max(offset, 0);
    update();
}

QRect DockingWidget::GlobalRect() const
{
    return QRect(mapToGlobal(QPoint(0, 0)), size());
}

void DockingWidget::SetElementsProvider(std::function<std::vector<ControlElement*>()> provider)
{
    m_elementsProvider = std::move(provider);
    update();
}

void DockingWidget::SetConnectionsVisible(bool visible)
{
    m_connectionsVisible = visible;
    update();
}

void DockingWidget::SetHintVisible(bool visible)
{
    m_hintWanted = visible;
    m_hintLabel->setVisible(visible && !m_highlighted);
}

bool DockingWidget::IsHintVisible() const
{
    return m_hintLabel->isVisible();
}

QVector<QLine> DockingWidget::ConnectionLines() const
{
    QVector<QLine> lines;
    if (!m_elementsProvider)
        return lines;
    const auto centre = [this](const ControlElement* e) {
        // Docked elements are positioned in their parent (the main window); map into this widget.
        const QRect r(e->parentWidget() ? mapFrom(e->parentWidget(), e->geometry().topLeft()) : e->pos(), e->size());
        return QPoint((r.left() + r.right()) / 2, (r.top() + r.bottom()) / 2);
    };
    for (ControlElement* e : m_elementsProvider())
    {
        if (e == nullptr || e->IsTabbed() || !e->isVisible() || !e->IsDocked())
            continue;
        ControlElement* parent = e->ParentElement();
        if (parent == nullptr || !parent->IsDocked())
            continue;
        lines.append(QLine(centre(e), centre(parent)));
    }
    return lines;
}

void DockingWidget::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    QPainter painter(this);
    const int g = ApplicationGlobals::gridSize;
    if (m_gridVisible)
    {
        painter.setPen(QPen(ApplicationGlobals::colorGrid, 1));
        const int contentWidth = width() - 2 * m_gridOffset;
        for (int k = 0; k <= contentWidth / g; ++k)
        {
            const int x = m_gridOffset + k * g;
            painter.drawLine(x, 0, x, height() - 1);
        }
        for (int k = 0; k <= height() / g; ++k)
        {
            const int y = k * g - 1;
            painter.drawLine(m_gridOffset, y, m_gridOffset + contentWidth, y);
        }
    }
    if (m_connectionsVisible)
    {
        painter.setRenderHint(QPainter::Antialiasing, true);
        painter.setPen(QPen(ApplicationGlobals::colorConnectionLine, 2));
        // Drawn both ways so that the antialiased pixels are symmetric whichever end is first.
        for (const QLine& line : ConnectionLines())
        {
            painter.drawLine(line);
            painter.drawLine(line.p2(), line.p1());
        }
    }
}

void DockingWidget::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_highlightFrame->setGeometry(rect());
    Q_EMIT Signal_RectChanged();
}

void DockingWidget::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    Q_EMIT Signal_RectChanged();
}

// --- Docking highlight

void DockingWidget::ShowHighlight()
{
    if (m_fading || m_highlighted)
        return;
    m_hintLabel->hide();
    StartFade(true);
}

void DockingWidget::HideHighlight(bool immediate)
{
    if (!m_fading && m_highlighted)
    {
        StartFade(false);
    }
    else if (immediate)
    {
        m_highlightAnimation->stop();
        m_fading = false;
        m_highlighted = false;
        m_highlightEffect->setOpacity(0.0);
        m_highlightFrame->hide();
        m_hintLabel->setVisible(m_hintWanted);
    }
}

void DockingWidget::StartFade(bool in)
{
    m_fading = true;
    m_highlightAnimation->disconnect(this);
    m_highlightAnimation->setDuration(ApplicationGlobals::fadeInOutTime);
    m_highlightAnimation->setStartValue(in ? 0.0 : 1.0);
    m_highlightAnimation->setEndValue(in ? 1.0 : 0.0);
    connect(m_highlightAnimation, &QPropertyAnimation::finished, this,
            in ? &DockingWidget::OnFadeInFinished : &DockingWidget::OnFadeOutFinished);
    m_highlightFrame->setGeometry(rect());
    m_highlightFrame->show();
    m_highlightFrame->raise();
    m_highlightAnimation->start();
}

void DockingWidget::OnFadeInFinished()
{
    m_fading = false;
    m_highlighted = true;
    Q_EMIT Signal_FadeInFinished();
}

void DockingWidget::OnFadeOutFinished()
{
    m_fading = false;
    m_highlighted = false;
    m_highlightFrame->hide();
    m_hintLabel->setVisible(m_hintWanted);
    Q_EMIT Signal_FadeOutFinished();
}

// --- Theme

void DockingWidget::UpdateHintPixmap()
{
    const QString file = ApplicationGlobals::isLight ? QStringLiteral(":/resources/company_logo_light.png")
                                                     : QStringLiteral(":/resources/company_logo_dark.png");
    QPixmap logo(file);
    if (!logo.isNull())
        logo = logo.scaled(kHintWidth, kHintHeight, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    m_hintLabel->setPixmap(logo);
}

void DockingWidget::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    setStyleSheet(QStringLiteral("QWidget#DockingWidget { background-color: %1; }"
                                 "QFrame#DockingHighlight { background-color: transparent; border: 2px solid %2; }")
                      .arg(G::colorBackground.name(), G::colorAccent.name()));
    UpdateHintPixmap();
    update();
}
