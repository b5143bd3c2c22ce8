// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHash>
#include <QIcon>
#include <QObject>
#include <QString>

namespace browser {

/// The small pictures beside the titles. One that a view asks for is read by a task, and drawn as a placeholder until
/// it is there.
class ArtworkCache : public QObject {
    Q_OBJECT

public:
    static constexpr int side = 48;

    using QObject::QObject;

    [[nodiscard]] QIcon icon(const QString &path, int mediaType);

Q_SIGNALS:
    void loaded(const QString &path);

private:
    void load(const QString &path);

    QHash<QString, QIcon> _icons;
};

} // namespace browser
