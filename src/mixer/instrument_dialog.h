/// The list of a bank's instruments.
#pragma once

#include <QDialog>
#include <functional>
#include <vector>

#include "mixer/instrument_list.h"

class QLabel;
class QLineEdit;
class QTreeWidget;
class QTreeWidgetItem;

namespace vexolo {

struct WindowContext;

/// Instruments by family, with a field that searches them. A popup: it goes when the user looks
/// elsewhere. Window thread only.
class InstrumentDialog : public QDialog {
 public:
  using Chosen = std::function<void(Instrument instrument)>;

  InstrumentDialog(const WindowContext& context, QWidget* parent, int channel,
                   std::vector<InstrumentEntry> entries, Instrument current, Chosen chosen);

  QLineEdit& search_field() { return *search_; }
  /// Names that are shown now, in their order.
  QStringList VisibleNames() const;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void Fill(const WindowContext& context, Instrument current);
  void Search(const QString& text);
  void Choose(QTreeWidgetItem* item);
  QTreeWidgetItem* FirstVisible() const;

  const std::vector<InstrumentEntry> entries_;
  const Chosen chosen_;
  QLineEdit* search_;
  QTreeWidget* tree_;
  QLabel* nothing_;
};

}  // namespace vexolo
