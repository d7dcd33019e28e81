// SPDX-License-Identifier: MIT
#include "Uninstaller/languages/GettextLanguage.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <initializer_list>
#include <system_error>

#include "Platform/linux/trash/TrashProblem.h"
#include "Uninstaller/Sentences.h"
#include "Uninstaller/SystemLanguage.h"

namespace qm::testing {
namespace {

using namespace qm::uninstaller;

/// What the environment names, in a process of its own for each test. The locales are those of the tests.
void useLocale(const char* name) {
  ::setenv("LOCPATH", QM_LOCALES, 1);
  ::unsetenv("LANGUAGE");
  ::setenv("LC_ALL", name, 1);
}

const Language& inLocale(const char* name) {
  useLocale(name);
  return systemLanguage();
}

constexpr const char* kSentence =
    "“Tessaly.app” couldn’t be moved to the Trash because of a system error (Input/output error).";

TEST(GettextLanguage, IsGermanInGermany) {
  const Language& language = inLocale("de_DE.UTF-8");
  EXPECT_EQ(language.translated("Cancel"), "Abbrechen");
  EXPECT_EQ(counted(language, 1, "{count} item", "{count} items"), "1 Objekt");
  EXPECT_EQ(counted(language, 2, "{count} item", "{count} items"), "2 Objekte");
  EXPECT_EQ(sizeText(language, 1536), "1,50 KB");
  EXPECT_EQ(inLanguage(language, kSentence),
            "„Tessaly.app“ konnte nicht in den Papierkorb verschoben werden. "
            "Das System meldet einen Fehler (Eingabe-/Ausgabefehler).");
}

TEST(GettextLanguage, IsFrenchInFrance) {
  const Language& language = inLocale("fr_FR.UTF-8");
  EXPECT_EQ(language.translated("Cancel"), "Annuler");
  EXPECT_EQ(counted(language, 0, "{count} item", "{count} items"), "0 élément") << "none is one in French";
  EXPECT_EQ(sizeText(language, 1536), "1,50 Ko");
}

TEST(GettextLanguage, IsSpanishInSpain) {
  const Language& language = inLocale("es_ES.UTF-8");
  EXPECT_EQ(language.translated("Cancel"), "Cancelar");
  EXPECT_EQ(counted(language, 2, "{count} item", "{count} items"), "2 elementos");
  EXPECT_EQ(sizeText(language, 1536), "1,50 KB");
}

TEST(GettextLanguage, IsJapaneseInJapan) {
  const Language& language = inLocale("ja_JP.UTF-8");
  EXPECT_EQ(language.translated("Cancel"), "キャンセル");
  EXPECT_EQ(counted(language, 1, "{count} item", "{count} items"), "1 項目");
  EXPECT_EQ(sizeText(language, 1536), "1.50 KB");
}

TEST(GettextLanguage, IsEnglishWhereTheLocaleIsNotThere) {
  for (const char* name : {"C", "xx_XX.UTF-8"}) {
    useLocale(name);
    const GettextLanguage language(QM_CATALOGUES);
    EXPECT_EQ(language.translated("Cancel"), "Cancel");
    EXPECT_EQ(language.decimalPoint(), ".");
  }
}

TEST(GettextLanguage, FollowsTheListOfLanguagesOfTheUser) {
  useLocale("C.UTF-8");
  ::setenv("LANGUAGE", "xx:fr:de", 1);
  EXPECT_EQ(systemLanguage().translated("Cancel"), "Annuler");
}

TEST(GettextLanguage, GivesATextBackThatItDoesNotKnow) {
  const Language& language = inLocale("de_DE.UTF-8");
  EXPECT_EQ(language.translated("no text of ours"), "no text of ours");
  EXPECT_EQ(language.translated(""), "") << "which is the key of the catalogue's description";
  EXPECT_EQ(language.translatedFor(2, "one of no", "many of no"), "many of no");
  EXPECT_EQ(language.systemMessage("no words of the system"), "no words of the system");
}

TEST(GettextLanguage, LeavesTheLogEnglish) {
  const Language& language = inLocale("de_DE.UTF-8");
  EXPECT_EQ(language.translated("Cancel"), "Abbrechen");
  EXPECT_EQ(std::generic_category().message(EIO), "Input/output error");
}

/// Whatever number a call leaves, and whatever it spoke of.
TEST(GettextLanguage, KnowsEveryReasonOfTheTrash) {
  using linux_::TrashProblem;
  using posix::Subject;
  const Language& language = inLocale("de_DE.UTF-8");
  for (const Subject subject : {Subject::TrashedItem, Subject::TrashedItemsFolder, Subject::TrashFolder,
                                Subject::ItemForRoot, Subject::ItemPutBack}) {
    for (int error = 1; error <= EHWPOISON; ++error) {
      const TrashProblem problem = linux_::problemOf(error, subject, "/home/sam/.local/share/Trash");
      for (const auto make : {linux_::trashFailure, linux_::lookFailure, linux_::putBackFailure}) {
        const std::string english = make("Tessaly.app", problem).localizedDescription();
        const auto german = knownInLanguage(language, english);
        ASSERT_TRUE(german) << english;
        EXPECT_EQ(german->find("because"), std::string::npos) << *german;
      }
    }
  }
}

}  // namespace
}  // namespace qm::testing
