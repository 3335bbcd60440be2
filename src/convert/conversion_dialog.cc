#include "convert/conversion_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <algorithm>

#include "convert/bitrates.h"
#include "convert/genres.h"
#include "widgets/elided_label.h"

namespace vexolo {
namespace {

constexpr int kWidth = 560;       // pixels
constexpr int kNumberDigits = 6;  // room in the boxes of numbers
constexpr int kShownGenres = 16;  // entries of the list that are seen at a time

QString WithoutMark(QString caption) { return caption.remove('&'); }

/// Texts of the language file; songs' names never stand in them.
QLabel* MakeCaption() {
  auto* label = new QLabel;
  label->setTextFormat(Qt::PlainText);
  return label;
}

QLabel* MakeNote() {
  QLabel* note = MakeCaption();
  note->setForegroundRole(QPalette::PlaceholderText);
  return note;
}

QPushButton* MakeButton(const char* name) {
  auto* button = new QPushButton;
  button->setObjectName(name);
  return button;
}

/// A box for a few digits.
void MakeNarrow(QLineEdit* box) {
  const QString digits(kNumberDigits, '0');
  box->setFixedWidth(box->fontMetrics().horizontalAdvance(digits) + 20);
}

}  // namespace

Tags::Tags(const WindowContext& context, ConversionForm& form, bool confirms_itself,
           QWidget* parent)
    : QDialog(parent), context_(context), form_(form), confirms_itself_(confirms_itself) {
  setObjectName("Tags");
  setModal(true);
  auto* column = new QVBoxLayout(this);
  column->addWidget(MakeRecordingFrame());
  column->addWidget(MakeTagsFrame());
  column->addWidget(MakeLyricsFrame());
  column->addStretch(1);
  column->addLayout(MakeButtons());
  InitGenres();
  LoadLanguage();
  Form_Load();
  ConnectControls();
  SetTabOrder();
  resize(std::max(kWidth, minimumSizeHint().width()), sizeHint().height());
  Timer1.setSingleShot(true);
  Timer1.setInterval(kTimerInterval);
  connect(&Timer1, &QTimer::timeout, this, [this] { Timer1_Timer(); });
}

// ---- Layout

QWidget* Tags::MakeRecordingFrame() {
  FrameRec = new QGroupBox;
  NotaBene = MakeNote();
  scheme_ = MakeBox("Scheme", &ConversionBoxes::scheme);
  scheme_label_ = LabelOf(scheme_);
  preview_ = new ElidedLabel(Qt::ElideMiddle);
  preview_->setObjectName("Preview");
  auto* grid = new QGridLayout(FrameRec);
  grid->addLayout(MakeFormatRow(), 0, 0, 1, 2);
  RecFolder = MakeBox("RecFolder", &ConversionBoxes::folder);
  RecFolder->setMaxLength(32767);  // what is too long is told when it is stored
  folder_label_ = LabelOf(RecFolder);
  grid->addWidget(folder_label_, 1, 0);
  grid->addLayout(MakeFolderRow(), 1, 1);
  grid->addWidget(scheme_label_, 2, 0);
  grid->addWidget(scheme_, 2, 1);
  grid->addWidget(NotaBene, 3, 1);
  grid->addWidget(preview_, 4, 0, 1, 2);
  grid->setColumnStretch(1, 1);
  return FrameRec;
}

QLayout* Tags::MakeFormatRow() {
  const auto option = [](const char* name) {
    auto* button = new QRadioButton;
    button->setObjectName(name);
    return button;
  };
  OptionWav = option("OptionWav");
  OptionMP3 = option("OptionMP3");
  OptionOgg = option("OptionOgg");
  uncompressed_ = MakeNote();
  compressed_ = MakeNote();
  ComboKbps = new QComboBox;
  ComboKbps->setObjectName("ComboKbps");
  for (const std::string_view rate : kBitrates) ComboKbps->addItem(Q(rate));
  ComboKbps->setMaxVisibleItems(static_cast<int>(kBitrates.size()));
  kbps_label_ = LabelOf(ComboKbps);
  auto* row = new QHBoxLayout;
  row->addWidget(OptionWav);
  row->addWidget(uncompressed_);
  row->addSpacing(24);
  row->addWidget(OptionMP3);
  row->addWidget(OptionOgg);
  row->addWidget(compressed_);
  row->addStretch();
  row->addWidget(ComboKbps);
  row->addWidget(kbps_label_);
  return row;
}

QLayout* Tags::MakeFolderRow() {
  browse_ = MakeButton("Browse");
  auto* row = new QHBoxLayout;
  row->addWidget(RecFolder);
  row->addWidget(browse_);
  return row;
}

QWidget* Tags::MakeTagsFrame() {
  FrameTags = new QGroupBox;
  TextArtiste = MakeBox("TextArtiste", &ConversionBoxes::artist);
  TextTitre = MakeBox("TextTitre", &ConversionBoxes::title);
  TextAlbum = MakeBox("TextAlbum", &ConversionBoxes::album);
  year_ = MakeBox("Year", &ConversionBoxes::year);
  TextPiste = MakeBox("TextPiste", &ConversionBoxes::track);
  ComboGenre = new QComboBox;
  ComboGenre->setObjectName("ComboGenre");
  ComboGenre->setMaxVisibleItems(kShownGenres);
  TextCommentaire = MakeBox("TextCommentaire", &ConversionBoxes::comment);
  const std::array<QWidget*, 7> controls = {TextArtiste, TextTitre,  TextAlbum,      year_,
                                            TextPiste,   ComboGenre, TextCommentaire};
  for (std::size_t tag = 0; tag < controls.size(); ++tag) tag_labels_[tag] = LabelOf(controls[tag]);
  MakeNarrow(year_);
  MakeNarrow(TextPiste);

  auto* numbers = new QHBoxLayout;
  numbers->addWidget(year_);
  numbers->addSpacing(12);
  numbers->addWidget(tag_labels_[4]);
  numbers->addWidget(TextPiste);
  numbers->addSpacing(12);
  numbers->addWidget(tag_labels_[5]);
  numbers->addWidget(ComboGenre, 1);
  auto* grid = new QGridLayout(FrameTags);
  constexpr std::array<std::size_t, 4> kWide = {0, 1, 2, 6};
  for (const std::size_t tag : kWide) {
    const int row = tag == 6 ? 4 : static_cast<int>(tag);
    grid->addWidget(tag_labels_[tag], row, 0);
    grid->addWidget(controls[tag], row, 1);
  }
  grid->addWidget(tag_labels_[3], 3, 0);
  grid->addLayout(numbers, 3, 1);
  grid->setColumnStretch(1, 1);
  return FrameTags;
}

QWidget* Tags::MakeLyricsFrame() {
  FrameKok = new QGroupBox;
  CheckKOK = new QCheckBox;
  CheckKOK->setObjectName("CheckKOK");
  LyricsMax = MakeBox("LyricsMax", &ConversionBoxes::line_length);
  MakeNarrow(LyricsMax);
  line_length_label_ = LabelOf(LyricsMax);
  auto* row = new QHBoxLayout;
  row->addWidget(line_length_label_);
  row->addWidget(LyricsMax);
  row->addStretch();
  auto* column = new QVBoxLayout(FrameKok);
  column->addWidget(CheckKOK);
  column->addLayout(row);
  return FrameKok;
}

QLayout* Tags::MakeButtons() {
  confirm_all_ = MakeNote();
  confirm_all_->setObjectName("ConfirmAll");
  confirm_all_->setWordWrap(true);
  all_ = MakeButton("Tous");
  validation_ = MakeButton("Validation");
  validation_->setDefault(true);
  abandon_ = MakeButton("Abandon");
  auto* row = new QHBoxLayout;
  row->addWidget(all_);
  row->addWidget(confirm_all_, 1);
  row->addWidget(validation_);
  row->addWidget(abandon_);
  return row;
}

QLineEdit* Tags::MakeBox(const char* name, std::string ConversionBoxes::*value) {
  auto* box = new QLineEdit;
  box->setObjectName(name);
  box->setMaxLength(static_cast<int>(ConversionForm::kMaxText));
  connect(box, &QLineEdit::textEdited, this, [this, value](const QString& text) {
    form_.boxes.*value = text.toStdString();
    Changed();
  });
  return box;
}

QLabel* Tags::LabelOf(QWidget* control) {
  QLabel* label = MakeCaption();
  label->setBuddy(control);
  return label;
}

void Tags::SetTabOrder() {
  const std::array<QWidget*, 21> order = {
      OptionWav,   OptionMP3, OptionOgg, ComboKbps,   RecFolder, browse_,    scheme_,
      TextArtiste, TextTitre, TextAlbum, year_,       TextPiste, ComboGenre, TextCommentaire,
      CheckKOK,    LyricsMax, all_,      validation_, abandon_,  nullptr,    nullptr};
  for (std::size_t place = 1; place < order.size() && order[place] != nullptr; ++place) {
    setTabOrder(order[place - 1], order[place]);
  }
}

// The boxes of both frames begin at the same place, whatever the language.
void Tags::AlignBoxes() {
  const std::array<QLabel*, 7> labels = {folder_label_,  scheme_label_,  tag_labels_[0],
                                         tag_labels_[1], tag_labels_[2], tag_labels_[3],
                                         tag_labels_[6]};
  int width = 0;
  for (const QLabel* label : labels) width = std::max(width, label->sizeHint().width());
  for (QLabel* label : labels) label->setMinimumWidth(width);
}

// ---- Texts

// A window that is destroyed while it is shown takes the focus from its box, which would call what
// is no longer there.
Tags::~Tags() { RecFolder->disconnect(this); }

void Tags::InitGenres() {
  ComboGenre->clear();
  ComboGenre->addItem({});  // no genre; its text is the language's
  for (const std::string_view genre : kGenres) ComboGenre->addItem(Q(genre));
}

void Tags::LoadLanguage() {
  const LanguageSection texts = context_.Section("Tags");
  const auto text = [&](const char* key) { return Q(texts.Message(key)); };
  setWindowTitle(text("Caption"));
  FrameRec->setTitle(text("FrameRec"));
  OptionWav->setText(text("OptionWav"));
  OptionMP3->setText(text("OptionMP3"));
  OptionOgg->setText(text("OptionOgg"));
  uncompressed_->setText(text("Brut"));
  compressed_->setText(text("Compresse"));
  kbps_label_->setText(text("Kbps"));
  folder_label_->setText(text("SaveFolder"));
  RecFolder->setPlaceholderText(text("BesideSong"));
  browse_->setText(text("Browse"));
  NotaBene->setText(text("NotaBene"));
  FrameTags->setTitle(text("FrameTags"));
  for (std::size_t tag = 0; tag < tag_labels_.size(); ++tag) {
    tag_labels_[tag]->setText(Q(BreakLines(texts.Text("Label", static_cast<int>(tag)))));
  }
  scheme_label_->setText(Q(BreakLines(texts.Text("Label", 7))));
  ComboGenre->setItemText(0, text("NullGenre"));
  FrameKok->setTitle(text("FrameKok"));
  CheckKOK->setText(text("CheckKOK"));
  line_length_label_->setText(text("CaractLigne"));
  confirm_all_->setText(confirms_itself_ ? text("ConfirmAll") : QString());
  all_->setText(text("Tous"));
  validation_->setText(text("Validation"));
  abandon_->setText(text("Abandon"));

  OptionWav->setToolTip(uncompressed_->text());
  OptionMP3->setToolTip(compressed_->text());
  OptionOgg->setToolTip(compressed_->text());
  browse_->setToolTip(text("BrowseTitle"));
  scheme_->setToolTip(NotaBene->text());
  for (QLineEdit* box : {TextArtiste, TextTitre, TextCommentaire}) {
    box->setToolTip(text("Prefilled"));
  }
  const std::array<std::pair<QWidget*, QLabel*>, 8> named = {{{ComboKbps, kbps_label_},
                                                              {RecFolder, folder_label_},
                                                              {TextAlbum, tag_labels_[2]},
                                                              {year_, tag_labels_[3]},
                                                              {TextPiste, tag_labels_[4]},
                                                              {ComboGenre, tag_labels_[5]},
                                                              {LyricsMax, line_length_label_},
                                                              {CheckKOK, nullptr}}};
  for (const auto& [control, label] : named) {
    if (label == nullptr) continue;
    control->setToolTip(WithoutMark(label->text()));
    control->setAccessibleName(WithoutMark(label->text()));
  }
  CheckKOK->setToolTip(WithoutMark(CheckKOK->text()));
  all_->setToolTip(text("ConfirmAll"));
  validation_->setToolTip(WithoutMark(validation_->text()));
  abandon_->setToolTip(WithoutMark(abandon_->text()));
  AlignBoxes();
}

// ---- What the user does

void Tags::Form_Load() {
  const ConversionBoxes& boxes = form_.boxes;
  OptionWav->setChecked(boxes.format == AudioFormat::kWav);
  OptionMP3->setChecked(boxes.format == AudioFormat::kMp3);
  OptionOgg->setChecked(boxes.format == AudioFormat::kOgg);
  ComboKbps->setCurrentIndex(boxes.bitrate);
  TextArtiste->setText(Q(boxes.artist));
  TextTitre->setText(Q(boxes.title));
  TextAlbum->setText(Q(boxes.album));
  year_->setText(Q(boxes.year));
  TextPiste->setText(Q(boxes.track));
  ComboGenre->setCurrentIndex(boxes.genre);
  TextCommentaire->setText(Q(boxes.comment));
  // Of a long text the beginning is seen.
  for (QLineEdit* box : {TextArtiste, TextTitre, TextAlbum, TextCommentaire}) {
    box->setCursorPosition(0);
  }
  LyricsMax->setText(Q(boxes.line_length));
  CheckKOK->setChecked(boxes.make_lyrics_file);
  RecFolder->setText(Q(boxes.folder));
  scheme_->setText(Q(boxes.scheme));
  Changed();
}

void Tags::ConnectControls() {
  const auto choose = [this](QRadioButton* option, AudioFormat format) {
    connect(option, &QRadioButton::clicked, this, [this, format] {
      form_.boxes.format = format;
      Changed();
    });
  };
  choose(OptionWav, AudioFormat::kWav);
  choose(OptionMP3, AudioFormat::kMp3);
  choose(OptionOgg, AudioFormat::kOgg);
  connect(ComboKbps, &QComboBox::activated, this,
          [this](int place) { form_.boxes.bitrate = place; });
  connect(ComboGenre, &QComboBox::activated, this,
          [this](int place) { form_.boxes.genre = place; });
  connect(CheckKOK, &QCheckBox::toggled, this, [this](bool on) {
    form_.boxes.make_lyrics_file = on;
    Changed();
  });
  connect(RecFolder, &QLineEdit::editingFinished, this, [this] { RecFolder_Validate(); });
  connect(browse_, &QPushButton::clicked, this, [this] { Browse_Click(); });
  connect(all_, &QPushButton::clicked, this, [this] { Confirm(true); });
  connect(validation_, &QPushButton::clicked, this, [this] { Confirm(false); });
  connect(abandon_, &QPushButton::clicked, this, &QDialog::reject);
}

void Tags::Changed() {
  ComboKbps->setEnabled(form_.UsesBitrate());
  kbps_label_->setEnabled(form_.UsesBitrate());
  LyricsMax->setEnabled(form_.boxes.make_lyrics_file);
  line_length_label_->setEnabled(form_.boxes.make_lyrics_file);
  const std::string path = form_.Preview();
  const LanguageSection texts = context_.Section("Tags");
  preview_->SetFullText(path.empty() ? QString() : Q(texts.Message("Preview", {path})));
}

void Tags::RecFolder_Validate() {
  form_.ValidateFolder();
  RecFolder->setText(Q(form_.boxes.folder));
  Changed();
}

void Tags::Browse_Click() {
  const std::string title = context_.Section("Tags").Message("BrowseTitle");
  const std::string chosen = context_.files.ChooseFolder(title, form_.boxes.folder);
  if (chosen.empty() || !AcceptFolder(chosen, context_.boxes)) return;
  form_.boxes.folder = chosen;
  RecFolder_Validate();
}

void Tags::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (confirms_itself_) Timer1.start();
}

void Tags::done(int result) {
  Timer1.stop();
  QDialog::done(result);
}

// What cannot be stored again would never be confirmed.
void Tags::Timer1_Timer() {
  Confirm(true);
  if (!form_.confirmed()) reject();
}

void Tags::Confirm(bool convert_all) {
  if (!form_.Confirm(convert_all, context_.boxes)) return;
  RecFolder->setText(Q(form_.boxes.folder));
  LyricsMax->setText(Q(form_.boxes.line_length));
  accept();
}

}  // namespace vexolo
