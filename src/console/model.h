// The console model: every named element of the program with its kind, its
// place, its texts and its value at start. It is the program's data store;
// the window is only a view of it, and runs without it (tests, scripts).
//
// Code reaches an element by its member (m.VitesseX, m.Note(3)); the window,
// scripts and tests reach it by its name ("VitesseX", "Note(3)"). Elements of
// the About box, of the EEPROM box and of the upload's report window carry
// their form's name in front ("About.nb_trou", "EEPROM.adress",
// "Upload.report"), since the EEPROM box has buttons named like buttons of
// the main window.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "console/elements.h"

namespace brivel {

class Model {
 public:
  Model();
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  // By name: "VitesseX", "Note(3)", "About.nb_trou". Null if there is none.
  Element* find(std::string_view name);
  Element& get(std::string_view name);  // throws std::out_of_range
  // Every element, in the order of the field map.
  const std::vector<Element*>& all() const { return order_; }

  // Observers see every change of every element (the window mirrors itself).
  using Observer = std::function<void(Element&, Prop)>;
  int subscribe(Observer o);
  void unsubscribe(int id);

  // True when nothing that holds the element is hidden or disabled: the
  // operator can reach it.
  bool reachable(const Element& e) const;
  // True when the element's frame chain is visible and lies inside the
  // window's present width.
  bool shown(const Element& e) const;

  // --- Windows -------------------------------------------------------------
  Element Brivel{Kind::Form, "Brivel"};  // the main console
  Element About{Kind::Form, "About"};
  Element EEPROM{Kind::Form, "EEPROM"};

  // --- Frames and the page buttons ------------------------------------------
  Element Frame1{Kind::Frame, "Frame1"}, Frame2{Kind::Frame, "Frame2"}, Frame3{Kind::Frame, "Frame3"},
      Frame4{Kind::Frame, "Frame4"}, Frame5{Kind::Frame, "Frame5"}, Frame6{Kind::Frame, "Frame6"},
      Frame7{Kind::Frame, "Frame7"}, Frame8{Kind::Frame, "Frame8"}, Frame9{Kind::Frame, "Frame9"};
  Element axe{Kind::Frame, "axe"}, Detecteur{Kind::Frame, "Detecteur"},
      Calibration_axes{Kind::Frame, "Calibration_axes"}, Calc_ponts{Kind::Frame, "Calc_ponts"},
      Calcul_X{Kind::Frame, "Calcul_X"};

  // --- Page "Perforation" ----------------------------------------------------
  Element Label4{Kind::Label, "Label4"};
  Element Deb_perf_mn{Kind::TextField, "Deb_perf_mn"}, Deb_perf_sec{Kind::TextField, "Deb_perf_sec"},
      Fin_perf_mn{Kind::TextField, "Fin_perf_mn"}, Fin_perf_sec{Kind::TextField, "Fin_perf_sec"};
  Element Text7{Kind::TextField, "Text7"}, Text8{Kind::TextField, "Text8"};
  // Ours: semitones added to every note of a piece as it is read (the card
  // view's transposition hint, applied). Not saved: a piece is read again
  // with 0 after a restart.
  Element transposition{Kind::TextField, "transposition"};
  Element Label_defautP{Kind::Label, "Label_defautP"};
  Element gauge1{Kind::Gauge, "gauge1"};
  Element List3{Kind::List, "List3"};
  Element Command11{Kind::Button, "Command11"}, Command12{Kind::Button, "Command12"}, Avance{Kind::Button, "Avance"};
  // Intermediate steps of held notes, and the row count of List3 beside it.
  Element Command7{Kind::Button, "Command7"}, Label9{Kind::Label, "Label9"};
  Element File1{Kind::List, "File1"};
  Element Shape2{Kind::Lamp, "Shape2"};
  Element affiche_note{Kind::Label, "affiche_note"};
  ElementArray compteurXY;  // 0, 1, 2
  Element Long_perforee{Kind::Label, "Long_perforee"};
  Element Text9{Kind::TextField, "Text9"}, Text10{Kind::TextField, "Text10"};
  ElementArray E;                // 5, 7
  ElementArray Label_detecteur;  // 0, 1, 2, 4

  // --- Page "Moteurs et poinçon" ----------------------------------------------
  Element vitesse{Kind::TextField, "vitesse"}, Poincon{Kind::TextField, "Poincon"},
      PasmotY{Kind::TextField, "PasmotY"}, NbpasY{Kind::TextField, "NbpasY"},
      Dist_cartons{Kind::TextField, "Dist_cartons"};
  Element AdressePort{Kind::TextField, "AdressePort"}, Shape1{Kind::Lamp, "Shape1"}, Label3{Kind::Label, "Label3"};
  Element Text11{Kind::TextField, "Text11"}, Demipas{Kind::CheckBox, "Demipas"};
  Element PontY{Kind::TextField, "PontY"}, Def_ponts{Kind::Button, "Def_ponts"};
  Element nb_PasX{Kind::TextField, "nb_PasX"}, nb_PasY{Kind::TextField, "nb_PasY"},
      VitesseX{Kind::TextField, "VitesseX"}, VitesseY{Kind::TextField, "VitesseY"},
      Text_origineX{Kind::TextField, "Text_origineX"}, TempoZ{Kind::TextField, "TempoZ"},
      MaxZ{Kind::TextField, "MaxZ"}, dcycle_pwm{Kind::TextField, "dcycle_pwm"};
  Element valid_pwm{Kind::CheckBox, "valid_pwm"}, Check2{Kind::CheckBox, "Check2"};
  Element LabelX{Kind::Label, "LabelX"}, LabelY{Kind::Label, "LabelY"}, Label_defaut{Kind::Label, "Label_defaut"};
  Element CommandeX_P{Kind::Button, "CommandeX_P"}, CommandeX_M{Kind::Button, "CommandeX_M"},
      CommandeY_M{Kind::Button, "CommandeY_M"}, CommandeZ_M{Kind::Button, "CommandeZ_M"},
      OrigineX_M{Kind::Button, "OrigineX_M"}, RAZ{Kind::Button, "RAZ"};
  Element Check1{Kind::CheckBox, "Check1"};
  Element Poin_H{Kind::Lamp, "Poin_H"}, Poin_B{Kind::Lamp, "Poin_B"};
  ElementArray Det_T, Det_L;  // Det_T(3), Det_L(4)
  Element visu_detecteurs{Kind::Button, "visu_detecteurs"};
  Element Calibration{Kind::TextField, "Calibration"};
  Element CalibrerX{Kind::Button, "CalibrerX"}, CalibrerY{Kind::Button, "CalibrerY"},
      CalibrerZ{Kind::Button, "CalibrerZ"}, Stop_cal{Kind::Button, "Stop_cal"};
  Element Text14{Kind::TextField, "Text14"}, Text15{Kind::TextField, "Text15"}, Text17{Kind::TextField, "Text17"};
  Element Liste_pont{Kind::List, "Liste_pont"}, Liste_pont_int{Kind::List, "Liste_pont_int"};
  Element Label39{Kind::Label, "Label39"};
  Element Calculer_ponts_Y{Kind::Button, "Calculer_ponts_Y"}, Appliquer_ponts{Kind::Button, "Appliquer_ponts"};

  // --- Page "Définition des notes" -------------------------------------------
  ElementArray Note, Position, perfo;  // 1..63
  Element NBTouches{Kind::TextField, "NBTouches"}, Text12{Kind::TextField, "Text12"},
      Text13{Kind::TextField, "Text13"}, Check6{Kind::CheckBox, "Check6"};
  Element Valcalc{Kind::OptionButton, "Valcalc"}, Calculer_pas_X{Kind::Button, "Calculer_pas_X"};
  Element Check3{Kind::CheckBox, "Check3"}, Check4{Kind::CheckBox, "Check4"},
      Text16{Kind::TextField, "Text16"}, Check5{Kind::CheckBox, "Check5"};
  Element Perfoman{Kind::Button, "Perfoman"}, Origine_N{Kind::Button, "Origine_N"};

  // --- Data that no page shows -----------------------------------------------
  Element Text3{Kind::TextField, "Text3"}, Text5{Kind::TextField, "Text5"}, Text6{Kind::TextField, "Text6"},
      ReferenceX{Kind::TextField, "ReferenceX"}, ReferenceY{Kind::TextField, "ReferenceY"},
      Text2{Kind::TextField, "Text2"}, Text4{Kind::TextField, "Text4"};
  ElementArray Label1;  // 0, 1
  // Ours: the pieces opened last, most recent first, in the menu Fichier.
  static constexpr int kRecents = 5;
  ElementArray recent;  // 1..kRecents
  Element Command2{Kind::Button, "Command2"}, Command3{Kind::Button, "Command3"};
  Element Liste_fichiers{Kind::List, "Liste_fichiers"}, List5{Kind::List, "List5"};

  // --- Timers ----------------------------------------------------------------
  Element WD_timer{Kind::Timer, "WD_timer"}, Timer1{Kind::Timer, "Timer1"}, Timer2{Kind::Timer, "Timer2"};

  // --- Menus -----------------------------------------------------------------
  Element Fichier{Kind::MenuEntry, "Fichier"}, Ouvre_midi{Kind::MenuEntry, "Ouvre_midi"},
      Ouvre_param{Kind::MenuEntry, "Ouvre_param"},
      Sauve_param{Kind::MenuEntry, "Sauve_param"}, separe1{Kind::MenuEntry, "separe1"},
      Sauve_contexte{Kind::MenuEntry, "Sauve_contexte"}, Restitue_contexte{Kind::MenuEntry, "Restitue_contexte"},
      separe2{Kind::MenuEntry, "separe2"}, perfo_retard{Kind::MenuEntry, "perfo_retard"},
      separe4{Kind::MenuEntry, "separe4"}, quitter{Kind::MenuEntry, "quitter"};
  Element fenetre{Kind::MenuEntry, "fenetre"}, fenetre_perforation{Kind::MenuEntry, "fenetre_perforation"},
      separe3{Kind::MenuEntry, "separe3"}, fenetre_moteurs{Kind::MenuEntry, "fenetre_moteurs"},
      fenetre_notes{Kind::MenuEntry, "fenetre_notes"};
  Element Programmation{Kind::MenuEntry, "Programmation"}, Atmega328{Kind::MenuEntry, "Atmega328"},
      Prog_uno_rev3{Kind::MenuEntry, "Prog_uno_rev3"}, Prog_duemilanove{Kind::MenuEntry, "Prog_duemilanove"},
      Prog_nano{Kind::MenuEntry, "Prog_nano"};
  Element affiche_doc{Kind::MenuEntry, "affiche_doc"}, apropos{Kind::MenuEntry, "apropos"};

  // --- About box ---------------------------------------------------------------
  Element about_description{Kind::Label, "About.description"}, about_usb{Kind::Label, "About.usb"},
      about_version{Kind::Label, "About.version"}, about_credits{Kind::Label, "About.credits"},
      about_notice{Kind::Label, "About.notice"}, about_address1{Kind::Label, "About.address1"},
      about_address2{Kind::Label, "About.address2"};
  Element nb_trou{Kind::Button, "About.nb_trou"};

  // --- EEPROM box ----------------------------------------------------------------
  Element adress{Kind::TextField, "EEPROM.adress"}, value{Kind::TextField, "EEPROM.value"};
  Element eeprom_read{Kind::Button, "EEPROM.Command1"}, eeprom_write{Kind::Button, "EEPROM.Command2"};

  // --- Firmware upload report ---------------------------------------------------
  // What the uploader says, as it says it, and its outcome in plain words. The
  // window stays open until the operator closes it.
  Element Upload{Kind::Form, "Upload"};
  Element upload_status{Kind::Label, "Upload.status"}, upload_report{Kind::Label, "Upload.report"};
  Element upload_close{Kind::Button, "Upload.close"};

  // The window sizes of the pages, in twips.
  static constexpr int kNarrowWidth = 6810, kNarrowHeight = 5700;
  static constexpr int kWideWidth = 8505, kWideHeight = 6660;
  static constexpr int kStartWidth = 6720, kStartHeight = 4980;
  static constexpr int kNotes = 63;  // entries of the note table

 private:
  friend class Element;
  void changed(Element& e, Prop p);
  // Registration of one element: where it stands and what it shows at start.
  Element& add(Element& e, const std::string& parent, const std::string& text, const std::string& tooltip = "",
               const std::string& label = "");
  Element& add_indexed(ElementArray& arr, const std::string& base, int index, Kind kind, const std::string& parent);

  std::map<std::string, Element*, std::less<>> by_name_;
  std::vector<Element*> order_;
  std::vector<std::unique_ptr<Element>> owned_;  // members of arrays
  std::map<int, Observer> observers_;
  int next_observer_ = 1;
};

// The default scale of the instrument: note and X position of tracks 1 to 29.
struct DefaultTrack {
  int note;
  int position;
};
extern const DefaultTrack kDefaultScale[29];

}  // namespace brivel
