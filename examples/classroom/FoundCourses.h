#pragma once

#include <QSortFilterProxyModel>
#include <QString>

namespace classroom {

/// Those courses of a model whose title or teacher has a text. It asks the model for more as a view asks it.
class FoundCourses final : public QSortFilterProxyModel {
 public:
  using QSortFilterProxyModel::QSortFilterProxyModel;

  /// @param text as a person typed it; empty: all
  void setWanted(const QString& text);
  bool isSearching() const { return !wanted_.isEmpty(); }

 protected:
  bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

 private:
  QString wanted_;
};

}  // namespace classroom
