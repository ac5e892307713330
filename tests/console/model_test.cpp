#include "console/model.h"

#include <gtest/gtest.h>

#include "console/pages.h"
#include "console/service_line.h"
#include "platform/sim/sim_platform.h"

namespace brivel {
namespace {

TEST(Model, DefaultsOfTheFieldMap) {
  Model m;
  struct Case {
    const char *name, *text, *tooltip;
    std::string state;  // E enabled, V visible, - not
  } cases[] = {
      {"Brivel", "Perforation de cartons d'orgue de barbarie          Brivel", "", "EV"},
      {"Label_defautP", "Sélectionner un fichier de paramètres (*.set) ou menu  Fenêtre ", "Messages de service ",
       "EV"},
      {"vitesse", "60", "Vitesse d'avancement du carton", "EV"},
      {"Poincon", "3", "Dimension du poinçon dans le sens de l'avancement du carton", "EV"},
      {"PasmotY", "0.083", "Avance du carton pour 1 pas moteur Y", "EV"},
      {"NbpasY", "10", "Nombre de pas moteur par pas de perforation", "EV"},
      {"Dist_cartons", "300", "Avance du carton entre la perforation de 2 fichiers successifs", "EV"},
      {"AdressePort", "10", "Adresse du port", "EV"}, {"VitesseX", "5000", "Durée d'un pas X en microsecondes", "EV"},
      {"VitesseY", "7500", "Durée d'un pas Y en microsecondes", "EV"},
      {"Text_origineX", "220", "Nombre de pas du moteur X entre le point d'origine et le bord du carton", "EV"},
      {"TempoZ", "2", "Durée de l'impulsion de commande", "EV"}, {"MaxZ", "12", "Délai après l'impulsion", "EV"},
      {"dcycle_pwm", "20", "Pourcentage de la durée d'une impulsion à zéro", "EV"},
      {"nb_PasX", "200", "Nbre de pas en X si commande X activée", "EV"},
      {"NBTouches", "29", "Nombre de notes de l'instrument", "-V"},
      {"Text12", "6.3", "Distance entre l'axe de la première note et le bord du carton", "-V"},
      {"Text13", "4.2", "Distance entre les rangées de perforations", "-V"},
      {"Text11", "0.21", "Déplacement de la tête de peforation pour 1 pas moteur X", "EV"},
      {"Text16", "1.2", "Longueur du doigt en lecture mécanique", "-V"},
      {"Text14", "1.00", "Longueur minimale de pont", "EV"}, {"Text15", "1.50", "Longueur maximale de pont", "EV"},
      {"Text17", "6", "Longueur de note maximale sans pont", "EV"},
      {"Text9", "0", "Nombre de pertes de pas depuis le début de la perforation", "EV"},
      {"Text10", "0", "Perte de pas maximale observée", "EV"}, {"Calibration", "Attente calibration", "", "EV"},
      {"Text3", "3", "", "EV"}, {"Text6", "250", "", "EV"}, {"ReferenceX", "-10", "Décalage butée carton", "EV"},
      {"ReferenceY", "0", "Origine du compteur Y", "EV"}, {"Deb_perf_mn", "", "Début de perforation", "EV"},
      {"Text4", "20", "Nombre de pas Y", "EV"}, {"Command11", "Perforer", "Lancement de la perforation", "-V"},
      {"Command12", "Pause", "Suspend ou reprend la perforation", "-V"},
      {"Avance", "Avance", "Avance du carton en continu", "-V"}, {"Calculer_pas_X", "Calculer", "", "-V"},
      {"Def_ponts", "Définir", "Accès au cadre de définition des ponts", "EV"}, {"Frame3", "Fichier Midi", "", "EV"},
      {"Frame2", "Numéros notes Midi et Nb pas X par rapport au bord du carton", "", "E-"},
      {"Detecteur", "Détecteurs", "", "E-"}, {"Calc_ponts", "Calcul ponts Y", "", "E-"},
      {"Ouvre_midi", "Ouvrir Fichier Midi...", "", "-V"}, {"Sauve_param", "Sauver Paramètres", "", "-V"},
      {"Sauve_contexte", "Sauver Contexte", "", "-V"}, {"Restitue_contexte", "Restituer Contexte", "", "EV"},
      {"perfo_retard", "Perforation différée...", "", "-V"}, {"Programmation", "Outils", "", "EV"},
      {"Prog_uno_rev3", "Uno - Uno rev3", "", "EV"}, {"Note(1)", "57", "", "EV"}, {"Note(29)", "68", "", "EV"},
      {"Note(30)", "0", "", "EV"}, {"Position(28)", "474", "", "EV"}, {"Position(63)", "0", "", "EV"},
      {"compteurXY(1)", "0", "", "E-"}, {"About.nb_trou", "Perforations", "", "E-"}, {"EEPROM.adress", "0", "", "EV"},
  };
  for (const auto& c : cases) {
    Element* e = m.find(c.name);
    ASSERT_NE(e, nullptr) << c.name;
    EXPECT_EQ(e->text(), c.text) << c.name;
    EXPECT_EQ(e->tooltip(), c.tooltip) << c.name;
    EXPECT_EQ(std::string(e->enabled() ? "E" : "-") + (e->visible() ? "V" : "-"), c.state) << c.name;
  }
  // The captions beside the fields, and frames that carry their buttons.
  for (auto [name, label] : {std::pair{"affiche_note", "Note perforée"}, {"Poin_B", "Poinçon bas"},
                             {"Deb_perf_mn", "De"}, {"Text5", "Vitesse Y"}})
    EXPECT_EQ(m.find(name)->label(), label) << name;
  for (const char* name : {"Command2", "Command3", "Text4"}) EXPECT_EQ(m.find(name)->parent(), "Frame1") << name;
  for (Element* e : {&m.Demipas, &m.Check2, &m.Check3, &m.valid_pwm, &m.Check1, &m.Check4, &m.Check5, &m.Check6})
    EXPECT_EQ(e->value(), e == &m.Demipas || e == &m.Check2 || e == &m.Check3) << e->name();
  EXPECT_EQ(m.Check3.text(), "Do Ré mi");
  EXPECT_EQ(m.Ouvre_midi.shortcut(), "Ctrl+O");
  EXPECT_EQ(m.fenetre_notes.shortcut(), "F3");
  EXPECT_EQ(m.WD_timer.interval(), 1000);
  EXPECT_EQ(m.Timer2.interval(), 30000);
  EXPECT_FALSE(m.Timer1.enabled());
  EXPECT_EQ(m.Shape1.color(), palette::kNone);
  EXPECT_EQ(m.Note(5).color(), palette::kWhite);
  EXPECT_TRUE(m.List3.sorted());
  EXPECT_FALSE(m.Liste_fichiers.sorted());
  EXPECT_EQ(m.Brivel.width(), Model::kStartWidth);
}

class Pages : public ::testing::Test {
 protected:
  Model m;
  RunState s;
  SimPlatform p;
  Context c{m, s, p};
  void SetUp() override { install_pages(c); }
};

}  // namespace
}  // namespace brivel
