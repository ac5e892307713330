#include "persistence/files/parameter_file.h"

#include <gtest/gtest.h>

namespace brivel {
namespace {

TEST(ParameterFile, LineTable) {
  const auto& t = table_fichier_parametres();
  ASSERT_EQ(t.size(), 162u);
  struct Case {
    int line;
    const char* field;
    FormeParam form;
  } cases[] = {{1, "Text3", FormeParam::Texte},        {13, "NbpasY", FormeParam::Texte},
               {17, "NBTouches", FormeParam::Texte},   {18, "NBTouches", FormeParam::Ignore},
               {22, "Note(1)", FormeParam::Texte},     {23, "Position(1)", FormeParam::Texte},
               {130, "Note(55)", FormeParam::Texte},   {131, "Position(55)", FormeParam::Texte},
               {132, "Demipas", FormeParam::Nombre},   {133, "reserve_set", FormeParam::Nombre32},
               {134, "PontY", FormeParam::Texte},      {135, "Note(56)", FormeParam::Texte},
               {150, "Position(63)", FormeParam::Texte}, {151, "Check1", FormeParam::Ignore},
               {157, "Text17", FormeParam::Texte},     {160, "valid_pwm", FormeParam::NombreStrict},
               {162, "Check1", FormeParam::Nombre}};
  for (const auto& c : cases) {
    EXPECT_EQ(t[c.line - 1].ligne, c.line);
    EXPECT_EQ(t[c.line - 1].champ, c.field) << c.line;
    EXPECT_EQ(t[c.line - 1].forme, c.form) << c.line;
  }
}

}  // namespace
}  // namespace brivel
