// The three pages of the console, chosen from the menu "Fenêtre", and the
// small handlers of the console itself: the end-bound fields, the millimetre
// display of Frame1, help, the About box and the EEPROM box.
#pragma once

#include "console/context.h"

namespace brivel {

enum class Page { Perforation, Moteurs, Notes };

// Registers the handlers of this file on the model.
void install_pages(Context& c);

void fenetre_perforation_Click(Context& c);
void fenetre_moteurs_Click(Context& c);
void fenetre_notes_Click(Context& c);
// Shows what `page` shows and hides what it hides, by the page table, and
// sets the window's size. The page routines call it.
void apply_page(Model& m, Page page);

// The parameter-page rule: the motor page (frame axe) or the note page
// (frame Frame2) is showing.
bool parameter_page_showing(const Model& m);

void affiche_doc_Click(Context& c);
void apropos_Click(Context& c);
// Alt+E, anywhere in the window.
void ouvre_utilitaire_eeprom(Context& c);

}  // namespace brivel
