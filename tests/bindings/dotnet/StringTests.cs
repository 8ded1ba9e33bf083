using System;
using System.Linq;
using System.Threading.Tasks;

namespace Velk.Upload.Tests
{
    /// <summary>Strings arrive unchanged, and are never cut.</summary>
    internal static class StringTests
    {
        private static readonly string[] Texts =
        {
            "Ünïcode, Ελληνικά, Кириллица, עברית, العربية, हिन्दी, ไทย, 中文, 日本語, 한국어",
            "it's \"quoted\" & 'so' on",
            "\\ and \\\\ and \\n and \\u0041 and a final \\",
            "😀 👩‍👩‍👧 🏳️‍🌈 👍🏽",
            "a=b&c=d%20+e;f#g?h/i",
            "first\r\nsecond\tand a tab",
            "{'value': 'x'}, [1]",
        };

        internal static void AddTo(Tests tests)
        {
            foreach (string text in Texts) tests.Add("unchanged: " + text, () => ArrivesUnchanged(text));
            tests.Add("unchanged: NULL", NullIsATextLikeOthers);
            tests.Add("the longest arrive whole", LongestArriveWhole);
            tests.Add("refused before the call", Refused);
        }

        private static async Task ArrivesUnchanged(string text)
        {
            string link = "https://example.com/" + text, tag = text.Replace('\n', ' ');
            await Facebook.UploadVideoAsync("token",
                new FacebookVideo { File = Files.Clip, Title = text, Description = text, Privacy = "SELF" });
            await Facebook.UploadPhotoAsync("token",
                new FacebookPhoto { File = Files.Photo, Message = text, Privacy = "SELF" });
            string post = await Facebook.PostAsync("token", new FacebookPost { Message = text, Link = link, Privacy = "SELF" });
            Json objects = Sandbox.State("facebook")["objects"];
            Json video = objects.Items.Single(o => o["kind"].Text == "video");
            Check.Equal(text, video["title"].Text, "title of a video");
            Check.Equal(text, video["description"].Text, "description of a video");
            Check.Equal(text, objects.Items.Single(o => o["kind"].Text == "photo")["message"].Text, "message of a photo");
            Check.Equal(text, objects.Items.Single(o => o["id"].Text == post)["message"].Text, "message of a post");
            Check.Equal(link, objects.Items.Single(o => o["id"].Text == post)["link"].Text, "link of a post");
            await Facebook.UpdateAsync("token", video["id"].Text, new FacebookChange { Description = text + "2" });
            video = Sandbox.State("facebook")["objects"].Items.Single(o => o["kind"].Text == "video");
            Check.Equal(text + "2", video["description"].Text, "changed description");

            await Twitter.TweetAsync(Files.Consumer, Files.User, text);
            await Twitter.UploadPhotoAsync(Files.Consumer, Files.User, new TwitterPhoto { File = Files.Photo, Text = text + "2" });
            Json tweets = Sandbox.State("twitter")["tweets"];
            Check.Equal(text, tweets[0]["text"].Text, "tweet");
            Check.Equal(text + "2", tweets[1]["text"].Text, "tweet with a photo");

            string id = await YouTube.UploadAsync("token",
                new YouTubeVideo { File = Files.Clip, Title = text, Description = text, Tags = { tag, "second" } });
            CheckVideo(text, text, tag + "|second");
            await YouTube.UpdateAsync("token", id,
                new YouTubeVideo { Title = text + "2", Description = text + "3", Tags = { "second" } });
            CheckVideo(text + "2", text + "3", "second");
        }

        private static void CheckVideo(string title, string description, string tags)
        {
            Json stored = Sandbox.State("youtube")["videos"][0];
            Check.Equal(title, stored["title"].Text, "title");
            Check.Equal(description, stored["description"].Text, "description");
            Check.Equal(tags, string.Join("|", stored["tags"].Items.Select(item => item.Text)), "tags");
        }

        private static async Task NullIsATextLikeOthers()
        {
            await Facebook.PostAsync("token",
                new FacebookPost { Message = "NULL", Link = "https://example.com", Privacy = "SELF" });
            Check.That(Sandbox.State("facebook")["objects"].Items.Any(o => o["message"].Text == "NULL"), "NULL is missing");
        }

        private static async Task LongestArriveWhole()
        {
            Func<YouTubeVideo, Task> upload = video =>
            {
                Sandbox.Script("'method': 'POST', 'path': '/upload/*', 'status': 200, " +
                    "'headers': ['Location: https://www.googleapis.com/s']");
                Sandbox.Script(@"'method': 'PUT', 'status': 200, 'body': '{\'id\': \'v\'}'");
                video.File = Files.Clip;
                return YouTube.UploadAsync("token", video);
            };
            Func<string, Task> title = text => upload(new YouTubeVideo { Title = text, Description = "d" });
            Func<string, Task> description = text => upload(new YouTubeVideo { Title = "t", Description = text });
            Func<string, Task> message = text => Facebook.PostAsync("token", new FacebookPost { Message = text });
            Func<string, Task> link = text => Facebook.PostAsync("token", new FacebookPost { Message = "m", Link = text });
            Func<string, Task> tweet = text =>
            {
                Sandbox.Script("'status': 200, 'body': '{}'");
                return Twitter.TweetAsync(Files.Consumer, Files.User, text);
            };
            var rows = new[]
            {
                new { Send = title, Text = Repeat("'", 49) + "12345", Sent = Repeat("\\u0027", 49) + "12345'" },
                new { Send = title, Text = Repeat("\n", 149) + "x", Sent = Repeat("\\n", 149) + "x'" },
                new { Send = description, Text = Repeat("\\", 2499) + "x", Sent = Repeat("\\\\", 2499) + "x'" },
                new { Send = message, Text = Repeat("é", 8333) + "x", Sent = Repeat("%C3%A9", 8333) + "x&" },
                new { Send = link, Text = Repeat("&", 682) + "x", Sent = Repeat("%26", 682) + "x&" },
                new { Send = tweet, Text = Repeat("x", 420), Sent = Repeat("x", 420) },
            };
            foreach (var row in rows)
            {
                Sandbox.Reset();
                await row.Send(row.Text);
                Check.Contains(row.Sent, Sandbox.Requests()[0]["body"].Text);
                Sandbox.Reset();
                ArgumentException refused = await Check.Throws<ArgumentException>(() => row.Send(row.Text + "x"));
                Check.Contains("is too long", refused.Message);
                Check.Equal(0, Sandbox.Requests().Count);
            }
        }

        private static async Task Refused()
        {
            Func<FacebookPost, Func<Task>> post = what => () => Facebook.PostAsync("token", what);
            Func<FacebookChange, Func<Task>> update = what => () => Facebook.UpdateAsync("token", "1", what);
            Func<string, Func<Task>> tag = what => () => YouTube.UploadAsync("token",
                new YouTubeVideo { File = Files.Clip, Title = "t", Description = "d", Tags = { what } });
            var calls = new[]
            {
                post(new FacebookPost { Message = "m", Target = "me" }),
                post(new FacebookPost { Message = "m", Privacy = "SELF'" }),
                post(new FacebookPost { Message = "a\0b" }),
                post(new FacebookPost { Message = "half of a character: \ud83d" }),
                post(new FacebookPost { Message = null }),
                update(new FacebookChange()),
                update(new FacebookChange { Privacy = "SELF" }),
                update(new FacebookChange { Message = "m", Description = "d" }),
                tag(""),
                tag("a\nb"),
                tag("a\0b"),
            };
            for (int i = 0; i < calls.Length; ++i) await Check.Throws<ArgumentException>(calls[i], "call " + i);
            string proxy = VelkLibrary.Proxy;
            Check.Equal(Environment.GetEnvironmentVariable("VELK_SANDBOX_PROXY"), proxy);
            await Check.Throws<ArgumentException>(() => { VelkLibrary.Proxy = Repeat("x", 256); return null; });
            Check.Equal(proxy, VelkLibrary.Proxy);
            Check.Equal(0, Sandbox.Requests().Count);
        }

        private static string Repeat(string text, int count) => string.Concat(Enumerable.Repeat(text, count));
    }
}
