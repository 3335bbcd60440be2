#include "mixer/instrument_dialog.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <array>

#include "widgets/window_context.h"

namespace vexolo {
namespace {

constexpr int kEntryRole = Qt::UserRole;
constexpr QSize kSize(300, 380);
constexpr QColor kFrame(0x6c, 0x71, 0x78);

bool IsFamily(const QTreeWidgetItem& item) { return item.parent() == nullptr; }

QString NumberText(Instrument instrument) {
  const QString program = QString::number(instrument.program + 1);
  return instrument.bank == 0 ? program : program + " / " + QString::number(instrument.bank);
}

}  // namespace

InstrumentDialog::InstrumentDialog(const WindowContext& context, QWidget* parent, int channel,
                                   std::vector<InstrumentEntry> entries, Instrument current,
                                   Chosen chosen)
    : QDialog(parent, Qt::Popup),
      entries_(std::move(entries)),
      chosen_(std::move(chosen)),
      search_(new QLineEdit(this)),
      tree_(new QTreeWidget(this)),
      nothing_(new QLabel(this)) {
  const LanguageSection texts = context.Section("Reglage");
  setObjectName("Instruments");
  setWindowTitle(Q(texts.Message("Instruments", {std::to_string(channel + 1)})));
  setAccessibleName(windowTitle());
  search_->setPlaceholderText(Q(texts.Message("Search")));
  search_->setAccessibleName(search_->placeholderText());
  search_->setClearButtonEnabled(true);
  search_->installEventFilter(this);
  nothing_->setText(Q(texts.Message("NotFound")));
  nothing_->setAlignment(Qt::AlignCenter);
  tree_->setAccessibleName(windowTitle());
  Fill(context, current);
  auto* layout = new QVBoxLayout(this);
  auto* title = new QLabel(windowTitle(), this);
  layout->addWidget(title);
  layout->addWidget(search_);
  layout->addWidget(tree_);
  layout->addWidget(nothing_);
  nothing_->setVisible(entries_.empty());
  resize(kSize);
  QObject::connect(search_, &QLineEdit::textChanged, this,
                   [this](const QString& text) { Search(text); });
  // Activation comes with Return, or with the click that the platform takes for it.
  QObject::connect(tree_, &QTreeWidget::itemClicked, this,
                   [this](QTreeWidgetItem* item) { Choose(item); });
  QObject::connect(tree_, &QTreeWidget::itemActivated, this,
                   [this](QTreeWidgetItem* item) { Choose(item); });
  search_->setFocus();
}

void InstrumentDialog::Fill(const WindowContext& context, Instrument current) {
  const LanguageSection texts = context.Section("Reglage");
  tree_->setColumnCount(2);
  tree_->setHeaderHidden(true);
  tree_->setUniformRowHeights(true);
  tree_->header()->setStretchLastSection(false);
  tree_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  tree_->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  std::array<QTreeWidgetItem*, kInstrumentFamilies> families{};
  QTreeWidgetItem* selected = nullptr;
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const InstrumentEntry& entry = entries_[i];
    QTreeWidgetItem*& family = families[static_cast<std::size_t>(entry.family)];
    if (!family) {
      family = new QTreeWidgetItem(tree_, {Q(texts.Text("Family", entry.family))});
      family->setFirstColumnSpanned(true);
    }
    auto* item = new QTreeWidgetItem(family, {Q(entry.name), NumberText(entry.instrument)});
    item->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    item->setData(0, kEntryRole, static_cast<int>(i));
    if (entry.instrument == current) selected = item;
  }
  if (!selected) return;
  tree_->setCurrentItem(selected);
  selected->parent()->setExpanded(true);
  tree_->scrollToItem(selected, QAbstractItemView::PositionAtCenter);
}

void InstrumentDialog::Search(const QString& text) {
  const std::string search = text.toStdString();
  bool found = false;
  for (int f = 0; f < tree_->topLevelItemCount(); ++f) {
    QTreeWidgetItem* family = tree_->topLevelItem(f);
    bool any = false;
    for (int i = 0; i < family->childCount(); ++i) {
      QTreeWidgetItem* item = family->child(i);
      const auto entry = static_cast<std::size_t>(item->data(0, kEntryRole).toInt());
      // The family's name is searched too: "guitar" shows all of them.
      const std::string name = entries_[entry].name + " " + family->text(0).toStdString();
      const bool matches = MatchesSearch(name, search);
      item->setHidden(!matches);
      any = any || matches;
    }
    family->setHidden(!any);
    family->setExpanded(!search.empty() && any);
    found = found || any;
  }
  nothing_->setVisible(!found);
  if (QTreeWidgetItem* first = found && !search.empty() ? FirstVisible() : nullptr) {
    tree_->setCurrentItem(first);
  }
}

QTreeWidgetItem* InstrumentDialog::FirstVisible() const {
  for (int f = 0; f < tree_->topLevelItemCount(); ++f) {
    QTreeWidgetItem* family = tree_->topLevelItem(f);
    for (int i = 0; i < family->childCount(); ++i) {
      if (!family->child(i)->isHidden()) return family->child(i);
    }
  }
  return nullptr;
}

QStringList InstrumentDialog::VisibleNames() const {
  QStringList names;
  for (int f = 0; f < tree_->topLevelItemCount(); ++f) {
    const QTreeWidgetItem* family = tree_->topLevelItem(f);
    for (int i = 0; i < family->childCount(); ++i) {
      if (!family->child(i)->isHidden()) names << family->child(i)->text(0);
    }
  }
  return names;
}

void InstrumentDialog::Choose(QTreeWidgetItem* item) {
  if (!item || item->isHidden()) return;
  if (IsFamily(*item)) {
    item->setExpanded(!item->isExpanded());
    return;
  }
  const auto entry = static_cast<std::size_t>(item->data(0, kEntryRole).toInt());
  if (isVisible() && result() != QDialog::Accepted) {
    accept();
    chosen_(entries_[entry].instrument);
  }
}

// A popup has no frame of its own, and the panel under it is as dark.
void InstrumentDialog::paintEvent(QPaintEvent* event) {
  QDialog::paintEvent(event);
  QPainter painter(this);
  painter.setPen(kFrame);
  painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

// In the field, the arrow keys move in the list and Return takes what is marked there.
bool InstrumentDialog::eventFilter(QObject* watched, QEvent* event) {
  if (watched == search_ && event->type() == QEvent::KeyPress) {
    auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() == Qt::Key_Down || key->key() == Qt::Key_Up) {
      tree_->setFocus();
      return true;
    }
    if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
      Choose(tree_->currentItem());
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}

}  // namespace vexolo
