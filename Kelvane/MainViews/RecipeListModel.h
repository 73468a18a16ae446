#pragma once

#include <QAbstractListModel>

namespace kelvane {

// Every recipe of the catalogue in catalogue order, with its group as the section.
class RecipeListModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role {
        RawValueRole = Qt::UserRole + 1,
        TitleRole,
        SubtitleRole,
        GlyphRole,
        GroupTitleRole,
        GroupGlyphRole,
        FirstColorRole,
        SecondColorRole,
    };

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The row of the recipe with this raw value, or -1.
    Q_INVOKABLE int rowOf(const QString& rawValue) const;
    // The raw value of the recipe at this row, or an empty text.
    Q_INVOKABLE QString rawValueAt(int row) const;
    // The group symbol's glyph for a section title ("Images").
    Q_INVOKABLE QString groupGlyph(const QString& groupTitle) const;
};

} // namespace kelvane
