#include "console/pages.h"

#include "core/numbers.h"

namespace brivel {

namespace {

enum class Show { Yes, No, Untouched };

struct PageRow {
  Element Model::*element;
  Show perforation, moteurs, notes;
};

constexpr Show Y = Show::Yes, N = Show::No, U = Show::Untouched;

// Which top-level elements each page shows. Frame6 lies inside Frame3 and
// Frame1 is never shown; neither is named here.
const PageRow kPageTable[] = {
    {&Model::Frame3, Y, N, N},           {&Model::Frame4, N, Y, N},     {&Model::Frame5, N, Y, N},
    {&Model::Frame7, N, Y, N},           {&Model::Frame8, U, Y, N},     {&Model::axe, N, Y, N},
    {&Model::Detecteur, N, Y, N},        {&Model::Calibration_axes, N, Y, N},
    {&Model::Calc_ponts, N, N, N},       {&Model::Frame2, N, N, Y},     {&Model::Calcul_X, N, N, Y},
    {&Model::Frame9, N, N, Y},           {&Model::Perfoman, N, N, Y},   {&Model::Origine_N, N, N, Y},
};

}  // namespace

void apply_page(Model& m, Page page) {
  for (const PageRow& row : kPageTable) {
    Show s = page == Page::Perforation ? row.perforation : page == Page::Moteurs ? row.moteurs : row.notes;
    if (s != Show::Untouched) (m.*row.element).set_visible(s == Show::Yes);
  }
  if (page == Page::Perforation)
    m.Brivel.set_size(Model::kNarrowWidth, Model::kNarrowHeight);
  else
    m.Brivel.set_size(Model::kWideWidth, Model::kWideHeight);
}

bool parameter_page_showing(const Model& m) { return m.axe.visible() || m.Frame2.visible(); }

void fenetre_perforation_Click(Context& c) {
  c.s.mesure_origine = 0;
  apply_page(c.m, Page::Perforation);
  c.m.Timer1.set_enabled(false);
  c.m.Ouvre_midi.set_enabled(true);
}

void fenetre_moteurs_Click(Context& c) {
  c.s.mesure_origine = 0;
  c.s.pas_Y_mm = val(c.m.NbpasY.text()) * val(c.m.PasmotY.text());
  apply_page(c.m, Page::Moteurs);
  c.m.Sauve_param.set_enabled(true);
  c.m.Def_ponts.set_text("Définir");
  // The detector view polls again if it was left on.
  if (c.s.visu_active) c.m.Timer1.set_enabled(true);
}

void fenetre_notes_Click(Context& c) {
  c.s.mesure_origine = 0;
  apply_page(c.m, Page::Notes);
  c.m.Sauve_param.set_enabled(true);
  c.m.Timer1.set_enabled(false);
}

void affiche_doc_Click(Context& c) { c.p.open_document("Brivel.htm"); }

void apropos_Click(Context& c) { c.m.About.set_visible(true); }

void ouvre_utilitaire_eeprom(Context& c) { c.m.EEPROM.set_visible(true); }

void install_pages(Context& c) {
  Model& m = c.m;
  m.fenetre_perforation.handler = [&c] { fenetre_perforation_Click(c); };
  m.fenetre_moteurs.handler = [&c] { fenetre_moteurs_Click(c); };
  m.fenetre_notes.handler = [&c] { fenetre_notes_Click(c); };
  m.affiche_doc.handler = [&c] { affiche_doc_Click(c); };
  m.apropos.handler = [&c] { apropos_Click(c); };
  m.Fin_perf_mn.handler = [&c] { c.s.fin_saisie = true; };
  m.Fin_perf_sec.handler = [&c] { c.s.fin_saisie = true; };
  // Frame1's step fields shown in millimetres.
  m.Text2.handler = [&c] { c.m.Label1(0).set_text(str_num(val(c.m.Text2.text()) * 0.23)); };
  m.Text4.handler = [&c] { c.m.Label1(1).set_text(str_num(val(c.m.Text4.text()) * c.s.pas_Y_mm)); };
  m.about_address1.handler = [&c] { affiche_doc_Click(c); };
}

}  // namespace brivel
