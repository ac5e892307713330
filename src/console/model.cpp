#include "console/model.h"

#include <stdexcept>

namespace brivel {

const DefaultTrack kDefaultScale[29] = {
    {57, 25},  {48, 42},  {50, 58},  {53, 75},  {55, 91},  {60, 108}, {62, 125}, {64, 141}, {65, 158}, {66, 175},
    {67, 191}, {69, 208}, {70, 224}, {71, 241}, {72, 258}, {73, 274}, {74, 291}, {75, 308}, {76, 324}, {77, 341},
    {78, 357}, {79, 374}, {80, 391}, {81, 407}, {82, 424}, {83, 441}, {84, 457}, {86, 474}, {68, 490}};

Element& Model::add(Element& e, const std::string& parent, const std::string& text, const std::string& tooltip,
                    const std::string& label) {
  e.parent_ = parent;
  e.text_ = text;
  e.tooltip_ = tooltip;
  e.label_ = label;
  e.model_ = this;
  if (e.kind_ == Kind::Timer) e.enabled_ = false;
  by_name_[e.name_] = &e;
  order_.push_back(&e);
  return e;
}

Element& Model::add_indexed(ElementArray& arr, const std::string& base, int index, Kind kind,
                            const std::string& parent) {
  owned_.push_back(std::make_unique<Element>(kind, base + "(" + std::to_string(index) + ")"));
  Element& e = *owned_.back();
  arr.items_[index] = &e;
  return add(e, parent, "");
}

Model::Model() {
  // Windows.
  add(Brivel, "", "Perforation de cartons d'orgue de barbarie          Brivel");
  Brivel.width_ = kStartWidth;
  Brivel.height_ = kStartHeight;
  add(About, "", "A propos...").visible_ = false;
  add(EEPROM, "", "Utilitaire EEPROM").visible_ = false;

  // Frames. Those "beyond the window's edge" at start stand right of the
  // narrow window and show only on the wide pages.
  constexpr int kBeyond = 6900;
  add(Frame3, "", "Fichier Midi");
  add(Frame6, "Frame3", "Contrôle");
  add(Frame4, "", "Paramètres Y").visible_ = false;
  add(Frame5, "", "Interface Machine").visible_ = false;
  add(Frame7, "", "Paramètres X").x_twips_ = kBeyond;
  add(Frame8, "", "Ponts Y").x_twips_ = kBeyond;
  add(axe, "", "Paramètres des 3 axes").visible_ = false;
  add(Detecteur, "", "Détecteurs").visible_ = false;
  add(Calibration_axes, "", "Calibration").visible_ = false;
  add(Calc_ponts, "", "Calcul ponts Y").visible_ = false;
  add(Frame2, "", "Numéros notes Midi et Nb pas X par rapport au bord du carton").visible_ = false;
  add(Calcul_X, "", "Calcul Nb pas X").x_twips_ = kBeyond;
  add(Frame9, "", "Divers").x_twips_ = kBeyond;
  add(Frame1, "", "Axes (port série)").visible_ = false;

  // Page "Perforation", frame Frame3.
  add(Label4, "Frame3", "", "Fichier midi en cours de perforation");
  add(Deb_perf_mn, "Frame3", "", "Début de perforation", "De").unit_ = "mn";
  add(Deb_perf_sec, "Frame3", "", "Début de perforation").unit_ = "s";
  add(Fin_perf_mn, "Frame3", "", "Fin de perforation", "à").unit_ = "mn";
  add(Fin_perf_sec, "Frame3", "", "Fin de perforation").unit_ = "s";
  add(Text7, "Frame3", "", "Début de perforation en ms").visible_ = false;
  add(transposition, "Frame3", "0", "Transposition en demi-tons").visible_ = false;
  add(Text8, "Frame3", "", "Fin de perforation en ms").visible_ = false;
  add(Label_defautP, "Frame3", "Sélectionner un fichier de paramètres (*.set) ou menu  Fenêtre ",
      "Messages de service ", "Messages utilisateur");
  add(gauge1, "Frame3", "", "Progression des calculs").value_ = 0;
  add(List3, "Frame3", "", "NoteOn en PasY").visible_ = false;
  List3.sorted_ = true;
  add(Command11, "Frame3", "Perforer", "Lancement de la perforation").enabled_ = false;
  add(Command12, "Frame3", "Pause", "Suspend ou reprend la perforation").enabled_ = false;
  add(Avance, "Frame3", "Avance", "Avance du carton en continu").enabled_ = false;
  // Kept beside the hidden List3, off every page.
  add(Command7, "Frame3", "calcul  PasY").visible_ = false;
  add(Label9, "Frame3", "Eléments").visible_ = false;

  // Frame6, inside Frame3.
  add(File1, "Frame6", "*.set", "Fichiers des paramètres de la machine", "Fichiers de paramètres");
  add(Shape2, "Frame6", "", "", "Etat connexion");
  add(affiche_note, "Frame6", "", "Nom de la note qui va être perforée", "Note perforée");
  add_indexed(compteurXY, "compteurXY", 0, Kind::Label, "").text_ = "0";
  add_indexed(compteurXY, "compteurXY", 1, Kind::Label, "").text_ = "0";
  compteurXY(0).visible_ = compteurXY(1).visible_ = false;  // below the pages
  add_indexed(compteurXY, "compteurXY", 2, Kind::Label, "Frame6").text_ = "0";
  compteurXY(2).label_ = "Temps";
  add(Long_perforee, "Frame6", "0", "Longueur de carton perforée depuis que la commande Perforer a été lancée",
      "Longueur");
  add(Text9, "Frame6", "0", "Nombre de pertes de pas depuis le début de la perforation", "Réalignements");
  add(Text10, "Frame6", "0", "Perte de pas maximale observée", "Ecart max");
  add_indexed(E, "E", 7, Kind::Lamp, "Frame6").color_ = palette::kWhite;
  add_indexed(E, "E", 5, Kind::Lamp, "Frame6").color_ = palette::kWhite;
  add_indexed(Label_detecteur, "Label_detecteur", 2, Kind::Label, "Frame6").text_ = "Cde poinçon";
  add_indexed(Label_detecteur, "Label_detecteur", 4, Kind::Label, "Frame6").text_ = "Rech. Origine";

  // Page "Moteurs et poinçon".
  add(vitesse, "Frame4", "60", "Vitesse d'avancement du carton", "Vitesse").unit_ = "mm/s";
  add(Poincon, "Frame4", "3", "Dimension du poinçon dans le sens de l'avancement du carton", "Poinçon").unit_ = "mm";
  add(PasmotY, "Frame4", "0.083", "Avance du carton pour 1 pas moteur Y", "Pas moteur").unit_ = "mm";
  add(NbpasY, "Frame4", "10", "Nombre de pas moteur par pas de perforation", "Précision");
  add(Dist_cartons, "Frame4", "300", "Avance du carton entre la perforation de 2 fichiers successifs",
      "Distance entre cartons").unit_ = "mm";
  add(AdressePort, "Frame5", "10", "Adresse du port");
  add(Shape1, "Frame5", "");
  add(Label3, "Frame5", "Numéro du port COM").clickable_ = true;
  add(Text11, "Frame7", "0.21", "Déplacement de la tête de peforation pour 1 pas moteur X", "Pas moteur").unit_ = "mm";
  add(Demipas, "Frame7", "Demi-pas", "Activation du fonctionnement en mode demi-pas").value_ = 1;
  add(PontY, "Frame8", "0", "Paramètre de définition des ponts");
  add(Def_ponts, "Frame8", "Définir", "Accès au cadre de définition des ponts");
  add(nb_PasX, "axe", "200", "Nbre de pas en X si commande X activée", "Nb Pas X");
  add(nb_PasY, "axe", "200", "Nbre de pas en Y si commande Y activée", "Nb Pas Y");
  add(VitesseX, "axe", "5000", "Durée d'un pas X en microsecondes", "Vitesse X").unit_ = "µs";
  add(VitesseY, "axe", "7500", "Durée d'un pas Y en microsecondes", "Vitesse Y").unit_ = "µs";
  add(Text_origineX, "axe", "220", "Nombre de pas du moteur X entre le point d'origine et le bord du carton",
      "Pas X origine");
  add(TempoZ, "axe", "2", "Durée de l'impulsion de commande", "Impulsion Z");
  add(MaxZ, "axe", "12", "Délai après l'impulsion", "Délai Z");
  add(dcycle_pwm, "axe", "20", "Pourcentage de la durée d'une impulsion à zéro", "Rap. cyclique(% off)");
  add(valid_pwm, "axe", "PWM sur moteur X", "Impulsions hachées sur le moteur X");
  add(Check2, "axe", "Cycle auto", "Cycle de perforation automatique ou fixe").value_ = 1;
  add(LabelX, "axe", "0", "Valeur courante du compteur X", "X");
  add(LabelY, "axe", "0", "Valeur courante du compteur Y", "Y");
  add(Label_defaut, "axe", "");
  add(CommandeX_P, "axe", "X", "Déplacement X de Nb Pas X");
  add(CommandeX_M, "axe", "X-", "Déplacement X- de Nb Pas X");
  add(CommandeY_M, "axe", "Y", "Déplacement Y de Nb Pas Y");
  add(CommandeZ_M, "axe", "Z", "Perforation");
  add(OrigineX_M, "axe", "OrigineX", "Recherche de l'origine sur l'axe X");
  add(RAZ, "axe", "RAZ", "Annulation de toutes les commandes envoyées à la machine");
  add(Check1, "Detecteur", "", "Activation du mode de fonctionnement à 2 capteurs", "Compat. Brivel27");
  add(Poin_H, "Detecteur", "", "Etat du capteur haut (Rouge = capteur démasqué)", "Poinçon haut");
  add(Poin_B, "Detecteur", "", "Etat du capteur bas (Rouge = capteur démasqué)", "Poinçon bas");
  add_indexed(Det_T, "Det_T", 3, Kind::Lamp, "Detecteur").tooltip_ = "Etat du capteur rotatif (Rouge = capteur démasqué)";
  add_indexed(Det_L, "Det_L", 4, Kind::Lamp, "Detecteur").tooltip_ = "Etat du capteur linéaire (Rouge = capteur démasqué)";
  add_indexed(Label_detecteur, "Label_detecteur", 0, Kind::Label, "Detecteur").text_ = "Tournant";
  add_indexed(Label_detecteur, "Label_detecteur", 1, Kind::Label, "Detecteur").text_ = "Linéaire";
  for (Element* lamp : {&Poin_H, &Poin_B, &Det_T(3), &Det_L(4)}) lamp->color_ = palette::kButtonFace;
  add(visu_detecteurs, "Detecteur", "Visualisation des détecteurs", "Validation de l'affichage des détecteurs");
  add(Calibration, "Calibration_axes", "Attente calibration");
  add(CalibrerX, "Calibration_axes", "Cal. X", "Aide à la calibration du moteur X");
  add(CalibrerY, "Calibration_axes", "Cal. Y", "Aide à la calibration du moteur Y");
  add(CalibrerZ, "Calibration_axes", "Cal. Z", "Aide à la calibration du dispositif de perforation");
  add(Stop_cal, "Calibration_axes", "Arrêt calibration", "Arrêt d'un processus de calibration");
  add(Text14, "Calc_ponts", "1.00", "Longueur minimale de pont", "Mini");
  add(Text15, "Calc_ponts", "1.50", "Longueur maximale de pont", "Maxi");
  add(Text17, "Calc_ponts", "6", "Longueur de note maximale sans pont", "Seuil");
  add(Label39, "Calc_ponts", "Long pont  -  Précision perfo");
  add(Liste_pont, "Calc_ponts", "", "", "Solutions proposées (mm)");
  Liste_pont.sorted_ = true;
  add(Liste_pont_int, "Calc_ponts", "").visible_ = false;
  Liste_pont_int.sorted_ = true;
  add(Calculer_ponts_Y, "Calc_ponts", "Calculer");
  add(Appliquer_ponts, "Calc_ponts", "Appliquer");

  // Page "Définition des notes".
  for (int k = 1; k <= kNotes; ++k) {
    Element& n = add_indexed(Note, "Note", k, Kind::TextField, "Frame2");
    Element& p = add_indexed(Position, "Position", k, Kind::TextField, "Frame2");
    add_indexed(perfo, "perfo", k, Kind::Button, "Frame2");
    n.text_ = k <= 29 ? std::to_string(kDefaultScale[k - 1].note) : "0";
    p.text_ = k <= 29 ? std::to_string(kDefaultScale[k - 1].position) : "0";
    n.color_ = palette::kWhite;
  }
  Note(1).label_ = "N° notes";
  Position(1).label_ = "Nb pas X";
  perfo(1).label_ = "Déplacer";
  add(NBTouches, "Calcul_X", "29", "Nombre de notes de l'instrument", "Notes").enabled_ = false;
  add(Text12, "Calcul_X", "6.3", "Distance entre l'axe de la première note et le bord du carton", "Talon").enabled_ =
      false;
  add(Text13, "Calcul_X", "4.2", "Distance entre les rangées de perforations", "Pas").enabled_ = false;
  add(Check6, "Calcul_X", "Inverser", "Inverse l'ordre des notes pour perforation par le dessous").enabled_ = false;
  add(Valcalc, "Calcul_X", "Valider");
  add(Calculer_pas_X, "Calcul_X", "Calculer").enabled_ = false;
  add(Check3, "Frame9", "Do Ré mi", "Mode d'affichage des notes", "Affichage notes :").value_ = 1;
  add(Check4, "Frame9", "Mécanique", "Activation de la prise en compte du doigt en lecture mécanique");
  add(Text16, "Frame9", "1.2", "Longueur du doigt en lecture mécanique", "Doigt ").enabled_ = false;
  add(Check5, "Frame9", "Vérif notes",
      "Vérification de la présence  des notes du fichier dans la gamme de l'instrument");
  add(Perfoman, "", "Perforer", "Perforation à l'endroit où se trouve la tête").x_twips_ = kBeyond;
  add(Origine_N, "", "Origine", "Activation de la recherche d'origine").x_twips_ = kBeyond;

  // Data that no page shows.
  add(Text3, "Frame1", "3", "", "Vitesse X");
  add(Text5, "Frame1", "2", "", "Vitesse Y");
  add(Text6, "Frame1", "250", "", "Tempo Z");
  add(ReferenceX, "Frame1", "-10", "Décalage butée carton");
  add(ReferenceY, "Frame1", "0", "Origine du compteur Y");
  add(Text2, "Frame1", "100", "Nombre de Pas X");
  add(Text4, "Frame1", "20", "Nombre de pas Y");
  add_indexed(Label1, "Label1", 0, Kind::Label, "Frame1");
  add_indexed(Label1, "Label1", 1, Kind::Label, "Frame1");
  add(Command2, "Frame1", "");
  add(Command3, "Frame1", "");
  add(Liste_fichiers, "", "").visible_ = false;
  add(List5, "", "").visible_ = false;

  // Timers, all stopped.
  add(WD_timer, "", "").interval_ = 1000;
  add(Timer1, "", "").interval_ = 100;
  add(Timer2, "", "").interval_ = 30000;

  // Menus.
  add(Fichier, "", "Fichier");
  add(Ouvre_midi, "Fichier", "Ouvrir Fichier Midi...").shortcut_ = "Ctrl+O";
  Ouvre_midi.enabled_ = false;
  // Ours: a parameter file from any folder joins the list.
  add(Ouvre_param, "Fichier", "Ouvrir Paramètres...").shortcut_ = "Ctrl+P";
  add(Sauve_param, "Fichier", "Sauver Paramètres").shortcut_ = "Ctrl+S";
  for (int i = 1; i <= kRecents; ++i) {
    Element& r = add_indexed(recent, "recent", i, Kind::MenuEntry, "Fichier");
    r.visible_ = false;
    r.enabled_ = false;
  }
  Sauve_param.enabled_ = false;
  add(separe1, "Fichier", "-");
  add(Sauve_contexte, "Fichier", "Sauver Contexte").shortcut_ = "Ctrl+C";
  Sauve_contexte.enabled_ = false;
  add(Restitue_contexte, "Fichier", "Restituer Contexte").shortcut_ = "Ctrl+R";
  add(separe2, "Fichier", "-");
  add(perfo_retard, "Fichier", "Perforation différée...").enabled_ = false;
  add(separe4, "Fichier", "-");
  add(quitter, "Fichier", "Quitter");
  add(fenetre, "", "Fenêtre");
  add(fenetre_perforation, "fenetre", "Perforation").shortcut_ = "F1";
  add(separe3, "fenetre", "-");
  add(fenetre_moteurs, "fenetre", "Moteurs et poinçon").shortcut_ = "F2";
  add(fenetre_notes, "fenetre", "Définition des notes").shortcut_ = "F3";
  add(Programmation, "", "Outils");
  add(Atmega328, "Programmation", "Programmation Atmega");
  add(Prog_uno_rev3, "Atmega328", "Uno - Uno rev3");
  add(Prog_duemilanove, "Atmega328", "Duemilanove");
  add(Prog_nano, "Atmega328", "Nano");
  add(affiche_doc, "", "Aide");
  add(apropos, "", "A propos");

  // About box.
  add(about_description, "About", "Logiciel de contrôle d'une perforatrice de cartons d'orgue de barbarie");
  add(about_usb, "About", "Controle par port USB via une carte arduino");
  add(about_version, "About", "Version 0.1.0");
  add(about_credits, "About", "Conception et programmation : l'équipe Brivel");
  add(about_notice, "About",
      "Ce logiciel est fourni tel quel, sans garantie. Il peut être utilisé et copié librement pour la "
      "perforation de cartons d'orgue.");
  // The guide shipped with the program; no address of a site that isn't.
  add(about_address1, "About", "Guide de l'utilisateur : Brivel.htm").clickable_ = true;
  add(about_address2, "About", "").visible_ = false;
  add(nb_trou, "About", "Perforations").visible_ = false;

  // EEPROM box.
  add(adress, "EEPROM", "0", "", "Adresse");
  add(value, "EEPROM", "0", "", "Valeur");
  add(eeprom_read, "EEPROM", "Read");
  add(eeprom_write, "EEPROM", "Write");

  // Firmware upload report.
  add(Upload, "", "Programmation du microcontrôleur").visible_ = false;
  add(upload_status, "Upload", "");
  add(upload_report, "Upload", "");
  add(upload_close, "Upload", "Fermer");
}

Element* Model::find(std::string_view name) {
  auto it = by_name_.find(name);
  return it == by_name_.end() ? nullptr : it->second;
}

Element& Model::get(std::string_view name) {
  Element* e = find(name);
  if (!e) throw std::out_of_range("no element named " + std::string(name));
  return *e;
}

int Model::subscribe(Observer o) {
  int id = next_observer_++;
  observers_[id] = std::move(o);
  return id;
}

void Model::unsubscribe(int id) { observers_.erase(id); }

void Model::changed(Element& e, Prop p) {
  // Copy: an observer may subscribe or unsubscribe while being told.
  auto obs = observers_;
  for (auto& [id, o] : obs) o(e, p);
}

bool Model::reachable(const Element& e) const {
  if (!shown(e)) return false;
  for (const Element* p = &e; p;) {
    if (!p->enabled_) return false;
    if (p->parent_.empty()) break;
    auto it = by_name_.find(p->parent_);
    p = it == by_name_.end() ? nullptr : it->second;
  }
  return true;
}

bool Model::shown(const Element& e) const {
  for (const Element* p = &e; p;) {
    if (!p->visible_) return false;
    if (p->x_twips_ >= Brivel.width_ && p->kind_ != Kind::Form) return false;
    if (p->parent_.empty()) break;
    auto it = by_name_.find(p->parent_);
    p = it == by_name_.end() ? nullptr : it->second;
  }
  return true;
}

}  // namespace brivel
