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
      {"compteurXY(1)", "0", "", "E-"}, {"About.nb_trou", "", "", "E-"}, {"EEPROM.adress", "0", "", "EV"},
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

TEST(Model, ChangeRuleRunsTheHandlerInsideTheWriteOnlyOnADifference) {
  Model m;
  int runs = 0;
  std::string seen_inside;
  m.VitesseX.handler = [&] {
    ++runs;
    seen_inside = m.VitesseX.text();
  };
  m.VitesseX.set_text("4000");
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(seen_inside, "4000");
  m.VitesseX.set_text("4000");
  EXPECT_EQ(runs, 1) << "the same text runs nothing";

  // Re-entrant: a handler writes the field it belongs to.
  std::vector<std::string> trail;
  m.nb_PasX.handler = [&] {
    trail.push_back(m.nb_PasX.text());
    if (m.nb_PasX.text() == "1") m.nb_PasX.set_text("2");
  };
  m.nb_PasX.set_text("1");
  EXPECT_EQ(trail, (std::vector<std::string>{"1", "2"}));
  EXPECT_EQ(m.nb_PasX.text(), "2");

  int clicks = 0;
  m.Check1.handler = [&] { ++clicks; };
  for (int v : {1, 1, 2}) m.Check1.set_value(v);
  EXPECT_EQ(clicks, 2);
}

TEST(Model, OperatorClicksRespectStateAndReach) {
  Model m;
  int clicks = 0;
  m.Command11.handler = [&] { ++clicks; };
  EXPECT_FALSE(m.Command11.operator_click()) << "disabled at start";
  m.Command11.set_enabled(true);
  EXPECT_TRUE(m.Command11.operator_click());
  m.Frame3.set_visible(false);
  EXPECT_FALSE(m.Command11.operator_click()) << "its frame is hidden";
  EXPECT_FALSE(m.Perfoman.operator_click()) << "beyond the edge of the narrow window";
  m.Command11.click();
  EXPECT_EQ(clicks, 2) << "the program clicks whatever the state";
  EXPECT_FALSE(m.separe1.operator_click());
  EXPECT_TRUE(m.Demipas.enabled());
}

TEST(Model, SortedListKeepsByteOrderAndDuplicates) {
  Model m;
  for (const char* r : {"0000107 00060 NTOF ", "0000074 00060 NOTE 0000107", "0000077 ##### PASY",
                        "0000074 00060 NOTE 0000107", "0000074 ##### PASY", "0000074 00048 NOTE 0000080"})
    m.List3.add_row(r);
  EXPECT_EQ(m.List3.rows(), (std::vector<std::string>{"0000074 ##### PASY", "0000074 00048 NOTE 0000080",
                                                      "0000074 00060 NOTE 0000107", "0000074 00060 NOTE 0000107",
                                                      "0000077 ##### PASY", "0000107 00060 NTOF "}));
  m.List3.add_row("0000001 00060 NOTE 0000002");
  EXPECT_EQ(m.List3.row(0), "0000001 00060 NOTE 0000002");
  EXPECT_EQ(m.List3.count(), 7);
}

class Pages : public ::testing::Test {
 protected:
  Model m;
  RunState s;
  SimPlatform p;
  Context c{m, s, p};
  void SetUp() override { install_pages(c); }
};

TEST_F(Pages, EachPageShowsItsFramesAndSetsTheWindow) {
  // The page each frame shows on: Perforation, Moteurs, Notes, or none.
  const std::pair<Element Model::*, char> table[] = {
      {&Model::Frame3, 'P'}, {&Model::Frame4, 'M'},   {&Model::Frame5, 'M'},    {&Model::Frame7, 'M'},
      {&Model::axe, 'M'},    {&Model::Detecteur, 'M'}, {&Model::Calibration_axes, 'M'}, {&Model::Calc_ponts, '-'},
      {&Model::Frame2, 'N'}, {&Model::Calcul_X, 'N'}, {&Model::Frame9, 'N'},    {&Model::Perfoman, 'N'},
      {&Model::Origine_N, 'N'},
  };
  auto showing = [&](char page) {
    for (auto [e, on] : table) EXPECT_EQ((m.*e).visible(), on == page) << page << " " << (m.*e).name();
  };
  s.mesure_origine = -1;
  s.visu_active = true;
  m.fenetre_moteurs.operator_click();
  EXPECT_EQ(s.mesure_origine, 0);
  showing('M');
  EXPECT_EQ(m.Brivel.width(), 8505);
  EXPECT_TRUE(m.Sauve_param.enabled());
  EXPECT_TRUE(m.Timer1.enabled()) << "the detector view polls on the motor page";
  EXPECT_TRUE(m.shown(m.Frame8));
  m.fenetre_notes.operator_click();
  showing('N');
  EXPECT_FALSE(m.Timer1.enabled());
  EXPECT_TRUE(s.visu_active) << "but stays on";
  m.fenetre_perforation.operator_click();
  showing('P');
  EXPECT_EQ(m.Brivel.width(), 6810);
  EXPECT_EQ(m.Brivel.height(), 5700);
  EXPECT_TRUE(m.Ouvre_midi.enabled());
  // From the motor page, frame 8 stays visible but beyond the narrow window.
  m.fenetre_moteurs.operator_click();
  m.fenetre_perforation.operator_click();
  EXPECT_TRUE(m.Frame8.visible());
  EXPECT_FALSE(m.shown(m.Frame8));
}

TEST_F(Pages, MotorPageComputesTheYStepAndResetsTheBridgeFrame) {
  m.NbpasY.set_text("");
  m.fenetre_moteurs.operator_click();
  EXPECT_EQ(s.pas_Y_mm, 0);
  m.NbpasY.set_text("10");
  m.Def_ponts.set_text("OK");
  m.Calc_ponts.set_visible(true);
  m.fenetre_perforation.operator_click();
  EXPECT_EQ(m.Def_ponts.text(), "OK");
  m.fenetre_moteurs.operator_click();
  EXPECT_EQ(m.Def_ponts.text(), "Définir");
  EXPECT_FALSE(m.Calc_ponts.visible());
  EXPECT_DOUBLE_EQ(s.pas_Y_mm, 10 * 0.083);
}

TEST_F(Pages, SmallHandlersOfTheConsole) {
  m.Fin_perf_sec.set_text("12");
  EXPECT_TRUE(s.fin_saisie);
  s.pas_Y_mm = 0.83;
  m.Text4.set_text("20.5");
  EXPECT_EQ(m.Label1(1).text(), " 17.015");
  m.Text2.set_text("10");
  EXPECT_EQ(m.Label1(0).text(), " 2.3");
  m.affiche_doc.operator_click();
  EXPECT_EQ(p.documents(), std::vector<std::string>{"Brivel.htm"});
  m.apropos.operator_click();
  EXPECT_TRUE(m.About.visible());
  EXPECT_FALSE(m.nb_trou.visible());
}

// Faults and refusals in red, states and progress not.
TEST(ServiceLine, FaultsApartFromStates) {
  for (const char* fault : {"Erreur repos poinçon - Contexte sauvegardé", "Liaison série perdue",
                            "Perte d'origine :  40 pas - Contexte sauvegardé",
                            "Non réponse poinçon - Contexte sauvegardé",
                            "Pas de réponse de la machine - Contexte sauvegardé",
                            "Commande refusée : la machine exécute déjà une commande",
                            "Machine non connectée : perforation impossible. Indiquer le numéro du port COM",
                            "Résoudre le défaut avant de Continuer", "Aucune note à perforer dans ce fichier Midi"})
    EXPECT_TRUE(texte_de_defaut(fault)) << fault;
  for (const char* state : {"Perforation en cours", "Perforation terminée", "Carte arduino détectée", "",
                            "Contexte sauvegardé - Cliquer Continuer pour reprendre",
                            "Prêt à perforer - durée 3 mn 05 s", "Recalage par rapport à l'origine"})
    EXPECT_FALSE(texte_de_defaut(state)) << state;
}

}  // namespace
}  // namespace brivel
