// Every function once, strings of every script, and values that do not fit.
#include "binding_fixture.h"

namespace velk::test {
namespace {

using velk_upload::ValueError;

class BindingCalls : public BindingTest {};

TEST_F(BindingCalls, SetsTheProxy) {
  EXPECT_EQ(library.Proxy(), sandbox.Proxy());
  EXPECT_THROW(library.SetProxy(std::string(256, 'a')), ValueError);
  EXPECT_EQ(library.Proxy(), sandbox.Proxy());
}

TEST_F(BindingCalls, ReadsFromFacebook) {
  const auto token = library.facebook.ExchangeToken("app", "sec&ret", "short");
  EXPECT_FALSE(token.token.empty());
  EXPECT_GT(token.lifetime, std::chrono::hours(24));
  EXPECT_EQ(sandbox.Only().Query().find("sec&ret"), std::string::npos);
  EXPECT_EQ(library.facebook.User("token").name, "Vera Velk");
  const auto pages = library.facebook.Pages("token");
  const auto page = std::ranges::find(pages, kPage, &velk_upload::Page::id);
  ASSERT_NE(page, pages.end());
  EXPECT_EQ(page->name, "Velk News");
  EXPECT_TRUE(library.facebook.Pages("pageless").empty());
  EXPECT_EQ(library.facebook.VideoUrl("12"), "https://www.facebook.com/video/video.php?v=12");
}

TEST_F(BindingCalls, RemembersValidTokens) {
  EXPECT_TRUE(library.facebook.CheckToken("app", "token"));
  EXPECT_TRUE(library.facebook.CheckToken("app", "token"));
  EXPECT_EQ(sandbox.Requests().size(), 1U);
  EXPECT_FALSE(library.facebook.CheckToken("app", "expired"));
  EXPECT_FALSE(library.facebook.CheckToken("app", "expired"));
  EXPECT_EQ(sandbox.Requests().size(), 3U);
}

TEST_F(BindingCalls, PublishesAndChangesOnFacebook) {
  const std::string video = library.facebook.UploadVideo("token", Video(clip));
  const std::string story = library.facebook.UploadPhoto("token", Photo(picture));
  const std::string post =
      library.facebook.Post("token", {.message = "a & b", .link = "https://velk.example/?a=1&b=%20"});
  library.facebook.Update("token", video, {.description = "Another test"});
  library.facebook.Update("token", story, {.message = "Another gradient", .privacy = "EVERYONE"});
  library.facebook.Update("token", post, {.message = "c = d"});
  EXPECT_THROW(library.facebook.Update("token", post, {.privacy = "SELF"}), ValueError);

  const auto objects = Stored("facebook", "objects");
  ASSERT_EQ(objects.size(), 4U);
  EXPECT_EQ(Text(objects[0], "id"), video);
  EXPECT_EQ(Text(objects[0], "title"), "Bars");
  EXPECT_EQ(Text(objects[0], "description"), "Another test");
  EXPECT_EQ(Text(objects[0], "sha256"), Sha256("not much of a video"));
  EXPECT_EQ(Text(objects[1], "privacy"), "EVERYONE");
  EXPECT_EQ(Text(objects[2], "id"), story);
  EXPECT_EQ(Text(objects[2], "message"), "Another gradient");
  EXPECT_EQ(Text(objects[3], "id"), post);
  EXPECT_EQ(Text(objects[3], "message"), "c = d");
  EXPECT_EQ(Text(objects[3], "link"), "https://velk.example/?a=1&b=%20");

  const std::string photo = Text(objects[1], "id");
  EXPECT_EQ(library.facebook.PhotoUrl("token", photo), "https://www.facebook.com/photo.php?fbid=" + photo);
  EXPECT_NE(library.facebook.VideoEmbedUrl("token", video).find(video), std::string::npos);
}

TEST_F(BindingCalls, DecodesWhatFacebookEscapes) {
  sandbox.Add({.body = R"({"link":"https:\/\/velk.example\/?a\u003d1\u0026b"})"});
  EXPECT_EQ(library.facebook.PhotoUrl("token", "12"), "https://velk.example/?a=1&b");
  sandbox.Add({.body = R"({"id":"1","name":"Zo\u00eb \ud83c\udf89\t\"V\"","email":"e"})"});
  EXPECT_EQ(library.facebook.User("token").name, "Zo\xC3\xAB \xF0\x9F\x8E\x89\t")
      << "the library ends it at a quote";
}

TEST_F(BindingCalls, ReadsUrlsOfAnyLength) {
  const std::string url = "https://velk.example/" + std::string(5000, 'u');
  sandbox.Add({.times = 0, .body = R"({"link":")" + url + "\"}"});
  EXPECT_EQ(library.facebook.PhotoUrl("token", "12"), url);
}

TEST_F(BindingCalls, ReturnsNoPunctuationInsteadOfAValue) {
  for (const char* body :
       {R"({"link":123,"id":"12"})", R"({"link":"","id":"12"})", R"({"link": "a"})", "{}"}) {
    sandbox.Add({.body = body});
    EXPECT_EQ(library.facebook.PhotoUrl("token", "12"), "") << body;
  }
}

TEST_F(BindingCalls, SignsInAndTweets) {
  const auto page = library.twitter.SignIn(kConsumer);
  EXPECT_TRUE(page.url.ends_with("?oauth_token=" + page.requestToken)) << page.url;
  const auto user = library.twitter.FinishSignIn(kConsumer, page.requestToken, " 1234567\r\n");
  EXPECT_EQ(user.screenName, "velk_sandbox");
  library.twitter.Tweet(kConsumer, user, "hello");
  library.twitter.UploadPhoto(kConsumer, user, {.file = picture.File(), .text = "look"});
  const auto tweets = Stored("twitter", "tweets"), media = Stored("twitter", "media");
  ASSERT_EQ(tweets.size(), 2U);
  EXPECT_EQ(Text(tweets[0], "text"), "hello");
  EXPECT_EQ(Text(tweets[1], "text"), "look");
  EXPECT_EQ(Text(media.at(0), "sha256"), Sha256(Png("not much of a picture")));
  library.twitter.Tweet(kConsumer, user, "again", {Text(media.at(0), "id")});
  EXPECT_EQ(Text(Stored("twitter", "tweets").at(2), "mediaIds"), Text(tweets[1], "mediaIds"));
}

TEST_F(BindingCalls, UploadsAndChangesOnYoutube) {
  const std::string id = library.youtube.Upload("token", Film(clip));
  auto video = Stored("youtube", "videos").at(0);
  EXPECT_EQ(Text(video, "id"), id);
  EXPECT_EQ(Text(video, "title"), "Bars");
  EXPECT_EQ(Text(video, "categoryId"), "22");
  EXPECT_EQ(Text(video, "privacyStatus"), "private");
  EXPECT_EQ(Text(video, "tags"), R"(["bars","test"])");
  EXPECT_EQ(Text(video, "sha256"), Sha256("not much of a video"));
  library.youtube.Update(
      "token", id, {.title = "Other", .description = "Changed", .privacy = "unlisted", .category = "28"});
  video = Stored("youtube", "videos").at(0);
  EXPECT_EQ(Text(video, "title"), "Other");
  EXPECT_EQ(Text(video, "privacyStatus"), "unlisted");
  EXPECT_EQ(Text(video, "tags"), "[]");
}

TEST_F(BindingCalls, TakesPathsOfEveryScript) {
  const TempFile file("\xE6\x88\x91\xE7\x9A\x84 'a' & \xD0\xBF\xD1\x80.png", Png("a"));
  library.youtube.Upload("token", Film(file));
  library.facebook.UploadVideo("token", Video(file));
  library.twitter.UploadPhoto(kConsumer, kUser, {.file = file.File(), .text = "look"});
  EXPECT_EQ(Stored("youtube", "videos").size(), 1U);
  EXPECT_EQ(Stored("facebook", "objects").size(), 1U);
  EXPECT_EQ(Stored("twitter", "tweets").size(), 1U);
}

// Each arrives as it was given, whichever way it travels.
constexpr const char* kStrings[] = {
    "Grüße Привет γειά 你好 こんにちは 안녕",
    "שלום مرحبا नमस्ते สวัสดี 👩‍👧 🏳️‍🌈",
    R"(it's "quoted", ''twice', ','apart' {'a': [1]} \n \u0041 \' \\ and ends with \)",
    "a&b=c+d%20%41;e#f?g/h@i:j!k'(l)*",
    "one\ntwo\r\nthree\tfour \x01 control \x1F \x7F",
    "NULL",
};

TEST_F(BindingCalls, SendsStringsUnchanged) {
  const std::string post = library.facebook.Post("token", {.message = "first"});
  const std::string film = library.youtube.Upload("token", Film(clip));
  for (const std::string text : kStrings) {
    SCOPED_TRACE(text);
    auto video = Video(clip);
    video.title = video.description = text;
    auto photo = Photo(picture);
    photo.message = text;
    auto other = Film(clip);
    other.title = other.description = text;
    const bool isTag = text.find('\n') == text.npos;
    other.tags = {isTag ? text : "tag", "second"};

    library.facebook.UploadVideo("token", video);
    library.facebook.UploadPhoto("token", photo);
    library.facebook.Post("token", {.message = text, .link = text});
    library.facebook.Update("token", post, {.message = text});
    library.twitter.Tweet(kConsumer, kUser, text);
    library.youtube.Upload("token", other);
    library.youtube.Update("token", film, other);

    const auto objects = Stored("facebook", "objects");
    const std::size_t count = objects.size();
    EXPECT_EQ(Text(objects[count - 4], "title"), text);
    EXPECT_EQ(Text(objects[count - 4], "description"), text);
    EXPECT_EQ(Text(objects[count - 3], "message"), text);
    EXPECT_EQ(Text(objects[count - 1], "message"), text);
    EXPECT_EQ(Text(objects[count - 1], "link"), text);
    EXPECT_EQ(Text(objects[0], "message"), text);
    EXPECT_EQ(Text(Stored("twitter", "tweets").back(), "text"), text);
    const auto videos = Stored("youtube", "videos");
    for (const auto& stored : {videos.front(), videos.back()}) {
      EXPECT_EQ(Text(stored, "title"), text);
      EXPECT_EQ(Text(stored, "description"), text);
      EXPECT_EQ(Text(stored, "tags"), boost::json::serialize(boost::json::value_from(other.tags)));
    }
  }
}

TEST_F(BindingCalls, FillsFieldsToTheLastByte) {
  auto film = Film(clip);
  film.title = std::string(99, 't');
  film.description = std::string(4994, 'd') + "'";  // six bytes as it is sent
  EXPECT_THROW(library.youtube.Upload("token", film), ValueError);
  film.description = std::string(4993, 'd') + "'";
  library.youtube.Upload("token", film);
  EXPECT_EQ(Text(Stored("youtube", "videos").at(0), "description"), film.description);
}

// Nothing is sent, and nothing is cut.
TEST_F(BindingCalls, RefusesWhatDoesNotFit) {
  struct Row {
    const char* name;
    const char* message;
    std::function<void()> call;
  };
  auto& facebook = library.facebook;
  auto& twitter = library.twitter;
  auto& youtube = library.youtube;
  const auto film = [&](auto change) {
    auto changed = Film(clip);
    change(changed);
    youtube.Upload("token", changed);
  };
  const Row rows[] = {
      {"a post that is too long once it is encoded",
       "message is too long: 51000 bytes as it is sent, and at most 49999 fit",
       [&] { facebook.Post("token", {.message = std::string(17000, '&')}); }},
      {"a title of a video", "title is too long: 260 bytes as it is sent, and at most 259 fit",
       [&] {
         auto video = Video(clip);
         video.title = std::string(260, 't');
         facebook.UploadVideo("token", video);
       }},
      {"a title of apostrophes", "title is too long: 300 bytes as it is sent, and at most 299 fit",
       [&] { film([](auto& video) { video.title = std::string(50, '\''); }); }},
      {"all tags together", "tags is too long: 1025 bytes as it is sent, and at most 1023 fit",
       [&] { film([](auto& video) {
               video.tags = {std::string(512, 'a'), std::string(512, 'b')};
             }); }},
      {"a line end in a tag", "a tag is empty or has a line end",
       [&] { film([](auto& video) { video.tags = {"a\nb"}; }); }},
      {"a NUL", "description contains a NUL",
       [&] { film([](auto& video) { video.description = std::string("a\0b", 3); }); }},
      {"a NUL in a token", "token contains a NUL", [&] { facebook.User(std::string_view("a\0b", 3)); }},
      {"a text of a photo tweet", "text is too long: 421 bytes as it is sent, and at most 420 fit",
       [&] {
         twitter.UploadPhoto(kConsumer, kUser, {.file = picture.File(), .text = std::string(421, 'a')});
       }},
      {"a target that is no number", "target is no identifier: it begins with a digit from 1 to 9",
       [&] { facebook.Post("token", {.message = "a", .target = "me"}); }},
      {"a privacy with a quote", "privacy has other characters than A to Z and _",
       [&] { facebook.Post("token", {.message = "a", .privacy = "SELF'"}); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    try {
      row.call();
      ADD_FAILURE() << "nothing was thrown";
    } catch (const ValueError& error) {
      EXPECT_STREQ(error.what(), row.message);
    }
  }
  EXPECT_TRUE(sandbox.Requests().empty());
}

}  // namespace
}  // namespace velk::test
