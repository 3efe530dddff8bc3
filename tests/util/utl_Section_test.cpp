// Section guards: the flag's previous value comes back, the counter counts
// nested sections.
#define QUV_SOURCE_NAME "utl_Section_test"
#include <kelp/util/utl_Section.h>

#include <gtest/gtest.h>

using namespace qor::quv::util;

TEST(SectionFlag, RestoresWhateverTheFlagHeldBefore) {
  struct Case {
    bool before;
    bool value;
  } cases[] = {{false, true}, {true, true}, {false, false}, {true, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "before " << c.before << " value " << c.value);
    bool flag = c.before;
    {
      SectionFlag guard(&flag, c.value);
      EXPECT_EQ(flag, c.value);
    }
    EXPECT_EQ(flag, c.before);
  }
  bool flag = true;
  {
    SectionFlag guard(&flag);
    EXPECT_TRUE(flag);
    flag = false;  // changed inside the section
  }
  EXPECT_TRUE(flag);  // was true before: restored to true, not false
  bool nested = false;
  {
    SectionFlag outer(&nested);
    {
      SectionFlag inner(&nested, false);
      EXPECT_FALSE(nested);
    }
    EXPECT_TRUE(nested);
  }
  EXPECT_FALSE(nested);
  SectionFlag none(nullptr);
  SectionFlag noneEither(nullptr, true);
}

TEST(SectionCounter, CountsTheSectionsInProgress) {
  int counter = 5;
  {
    SectionCounter a(&counter);
    EXPECT_EQ(counter, 6);
    {
      SectionCounter b(&counter);
      SectionCounter c(&counter);
      EXPECT_EQ(counter, 8);
    }
    EXPECT_EQ(counter, 6);
  }
  EXPECT_EQ(counter, 5);
  SectionCounter none(nullptr);
}
