// The terms of YouTube's categories, which the legacy browser upload sends.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>

#include "youtube/youtube.h"

namespace velk::youtube {
namespace {

TEST(YoutubeCategoryTerm, ExistsForExactlyTheKnownIds) {
  std::string known;
  for (int id = 0; id < 120; ++id) {
    char term[kCategoryTermCapacity];
    std::memset(term, '#', sizeof term);
    const int result = YoutubeCategoryTermFromId(std::to_string(id), term);
    if (result == 0) {
      known += std::to_string(id) + ' ' + term + '\n';
    } else {
      EXPECT_EQ(result, -1);
      EXPECT_EQ(std::string_view(term, sizeof term), std::string(sizeof term, '#'));
    }
  }
  EXPECT_EQ(known,
            "1 Film\n2 Autos\n10 Music\n15 Animals\n17 Sports\n18 Shortmov\n19 Travel\n20 Games\n22 People\n"
            "23 People\n24 Entertainment\n25 News\n26 Howto\n27 Education\n28 Tech\n29 Nonprofit\n30 Movies\n"
            "31 Movies_anime_animation\n32 Movies_action_adventure\n33 Movies_classics\n34 Movies_comedy\n"
            "35 Movies_documentary\n36 Movies_drama\n37 Movies_family\n38 Movies_foreign\n39 Movies_horror\n"
            "40 Movies_sci_fi_fantasy\n41 Movies_thriller\n42 Movies_shorts'\n43 Shows\n44 Trailers\n");
  char term[kCategoryTermCapacity];
  for (const char* id : {"", "01", "1 ", " 1", "20x", "-1", "Film"})
    EXPECT_EQ(YoutubeCategoryTermFromId(id, term), -1) << id;
}

}  // namespace
}  // namespace velk::youtube
