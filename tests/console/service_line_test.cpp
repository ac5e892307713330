#include "console/service_line.h"

#include <gtest/gtest.h>

namespace brivel {
namespace {

// Faults and refusals in red, states and progress not.
TEST(ServiceLine, FaultsApartFromStates) {
  const struct {
    const char* text;
    bool fault;
  } cases[] = {
      {"Erreur repos poinçon - Contexte sauvegardé", true},
      {"Perte d'origine :  40 pas - Contexte sauvegardé", true},
      {"Non réponse poinçon - Contexte sauvegardé", true},
      {"Pas de réponse de la machine - Contexte sauvegardé", true},
      {"Liaison série perdue", true},
      {"Commande refusée : la machine exécute déjà une commande", true},
      {"Machine non connectée : perforation impossible. Indiquer le numéro du port COM", true},
      {"Résoudre le défaut avant de Continuer", true},
      {"Aucune note à perforer dans ce fichier Midi", true},
      {"Perforation en cours", false},
      {"Perforation terminée", false},
      {"Contexte sauvegardé - Cliquer Continuer pour reprendre", false},
      {"Carte arduino détectée", false},
      {"Prêt à perforer - durée 3 mn 05 s", false},
      {"Recalage par rapport à l'origine", false},
      {"", false},
  };
  for (const auto& k : cases) EXPECT_EQ(texte_de_defaut(k.text), k.fault) << k.text;
}

}  // namespace
}  // namespace brivel
