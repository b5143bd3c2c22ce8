// SPDX-License-Identifier: Apache-2.0
#include "ArtworkCache.h"

#include "MediaTasks.h"

#include <kelvane/qt/Conversions.h>
#include <kelvane/qt/TaskSignals.h>

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>

namespace browser {

using kelvane::qt::TaskSignals;

namespace {

QIcon rounded(const std::function<void(QPainter &, const QRect &)> &draw)
{
    const qreal ratio = qGuiApp->devicePixelRatio();
    QPixmap pixmap(QSize(ArtworkCache::side, ArtworkCache::side) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    const QRect frame(0, 0, ArtworkCache::side, ArtworkCache::side);
    QPainter painter(&pixmap);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    QPainterPath shape;
    shape.addRoundedRect(frame, 6, 6);
    painter.setClipPath(shape);
    draw(painter, frame);
    painter.end();
    // The same while the row is selected: covers keep their colours.
    QIcon icon(pixmap);
    icon.addPixmap(pixmap, QIcon::Selected);
    return icon;
}

QIcon placeholder(int mediaType)
{
    return rounded([=](QPainter &painter, const QRect &frame) {
        const QColor tint = QColor::fromHsv(mediaType == 1 ? 210 : mediaType == 2 ? 270 : 150, 60, 205);
        painter.fillRect(frame, tint);
        QFont font = painter.font();
        font.setPixelSize(22);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(frame, Qt::AlignCenter, mediaType == 1 ? "♪" : mediaType == 2 ? "▶" : "▲");
    });
}

QIcon cover(const QImage &image)
{
    return rounded([&](QPainter &painter, const QRect &frame) {
        const int edge = std::min(image.width(), image.height());
        painter.drawImage(frame, image, QRect((image.width() - edge) / 2, (image.height() - edge) / 2, edge, edge));
    });
}

} // namespace

QIcon ArtworkCache::icon(const QString &path, int mediaType)
{
    auto found = _icons.find(path);
    if (found == _icons.end()) {
        found = _icons.insert(path, placeholder(mediaType));
        load(path);
    }
    return *found;
}

void ArtworkCache::load(const QString &path)
{
    const auto task = artworkTask(kelvane::qt::fromQString(path), side * 2);
    auto *news = new TaskSignals(task, this);
    connect(news, &TaskSignals::finished, this, [=, this] {
        const auto image = news->task()->userResult().as<QImage>();
        news->deleteLater();
        if (!image || image->isNull())
            return;
        _icons.insert(path, cover(*image));
        Q_EMIT loaded(path);
    });
    task->startTask();
}

} // namespace browser
