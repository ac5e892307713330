#include "persistence/files/parameter_file.h"

#include <gtest/gtest.h>

#include <map>

namespace brivel {
namespace {

// A file of `lines` lines made by the table: text lines "L<n>", number
// lines " <n>"; then the closing empty line.
std::string file_of(int lines, std::map<int, std::string> over = {}) {
  std::string f;
  for (const LigneParam& l : table_fichier_parametres()) {
    if (l.ligne > lines) break;
    std::string v = l.forme == FormeParam::Texte ? "L" + std::to_string(l.ligne) : " " + std::to_string(l.ligne % 3);
    if (over.count(l.ligne)) v = over[l.ligne];
    f += v + "\r\n";
  }
  return f + "\r\n";
}

const AffectationParam* find(const LectureParametres& r, int line) {
  for (const auto& a : r.affectations)
    if (a.ligne == line) return &a;
  return nullptr;
}

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

TEST(ParameterFile, FullFile) {
  auto r = lit_fichier_parametres(file_of(162, {{133, "-1"}, {19, "0,21\xE9"}, {153, " 2"}}));
  EXPECT_TRUE(r.complet);
  EXPECT_EQ(r.affectations.size(), 160u);  // lines 18 and 151 dropped
  EXPECT_EQ(find(r, 133)->nombre, -1);
  EXPECT_EQ(find(r, 19)->texte, "0,21é");
  EXPECT_EQ(find(r, 153)->nombre, 2);
  EXPECT_EQ(find(r, 162)->champ, "Check1");
  EXPECT_EQ(find(r, 18), nullptr);
}

TEST(ParameterFile, ShortFilesStopQuietly) {
  // 156 lines and the closing empty line: Text17 becomes "6", then the end.
  auto r = lit_fichier_parametres(file_of(156));
  EXPECT_FALSE(r.complet);
  EXPECT_EQ(r.affectations.back().champ, "Text17");
  EXPECT_EQ(r.affectations.back().texte, "6");
  // A line 160 that is no number ends the reading there.
  auto bad = lit_fichier_parametres(file_of(162, {{160, "x"}}));
  EXPECT_FALSE(bad.complet);
  EXPECT_EQ(bad.affectations.back().champ, "Dist_cartons");
  EXPECT_TRUE(lit_fichier_parametres("").affectations.empty());
}

}  // namespace
}  // namespace brivel
