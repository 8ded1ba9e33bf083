using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Threading.Tasks;

namespace Velk.Upload.Tests
{
    /// <summary>Every function once, and each kind of failure.</summary>
    internal static class FunctionTests
    {
        internal static void AddTo(Tests tests)
        {
            tests.Add("facebook: tokens, user, pages", FacebookReads);
            tests.Add("facebook: publish and change", FacebookPublishes);
            tests.Add("facebook: a valid token is remembered", FacebookRemembers);
            tests.Add("twitter: sign in, tweet, photo", TwitterPublishes);
            tests.Add("twitter: paths of every form", TwitterPaths);
            tests.Add("youtube: upload and update", YouTubePublishes);
            tests.Add("failures have code, name and advice", Failures);
        }

        private static async Task FacebookReads()
        {
            FacebookToken token = await Facebook.ExchangeTokenAsync("app", "secret", "t&k%n");
            Check.Equal("long-t&k%n", token.Token);
            Check.Equal(TimeSpan.FromDays(60), token.Lifetime.Value);
            Check.Equal("", (await Facebook.GetUserAsync("token")).Email);
            Sandbox.Script(@"'path': '/me', 'status': 200, 'body': '{\'name\':\'Zo\\u00eb \\ud83d\\ude00 \\/\',\'id\':\'1\'}'");
            Check.Equal("Zoë 😀 /", (await Facebook.GetUserAsync("token")).Name);
            Sandbox.Script(@"'path': '/me', 'status': 200, 'body': '{\'name\':123,\'id\':\'1\'}'");
            Check.Equal("", (await Facebook.GetUserAsync("token")).Name);
            IReadOnlyList<FacebookPage> pages = await Facebook.GetPagesAsync("token");
            Check.That(pages.Any(page => page.Id == "104000000000001" && page.Name == "Velk News"), "the page is missing");
            Check.Equal(0, (await Facebook.GetPagesAsync("pageless")).Count);
        }

        private static async Task FacebookPublishes()
        {
            string video = await Facebook.UploadVideoAsync("token",
                new FacebookVideo { File = Files.Clip, Title = "T", Description = "D", Privacy = "SELF" });
            Check.Contains(video, Facebook.GetVideoUrl(video));
            Check.Contains("https://", await Facebook.GetVideoEmbedUrlAsync("token", video));
            string story = await Facebook.UploadPhotoAsync("token", new FacebookPhoto
            {
                File = Files.Photo, Message = "M", Privacy = "EVERYONE", Target = "104000000000001",
            });
            Json photo = Objects("photo").Single();
            Check.Equal("104000000000001", photo["node"].Text);
            Check.Equal(Sandbox.Sha256(Files.Photo), photo["sha256"].Text);
            Check.Contains("https://", await Facebook.GetPhotoUrlAsync("token", photo["id"].Text));
            const string link = "https://example.com/?a=1&b=2";
            string post = await Facebook.PostAsync("token", new FacebookPost { Message = "P", Link = link, Privacy = "SELF" });
            await Facebook.UpdateAsync("token", video, new FacebookChange { Description = "D2" });
            await Facebook.UpdateAsync("token", story, new FacebookChange { Message = "M2", Privacy = "SELF" });
            await Facebook.UpdateAsync("token", post, new FacebookChange { Message = "P2" });
            Check.Equal("D2", Objects("video").Single()["description"].Text);
            Check.Equal("SELF", Objects("photo").Single()["privacy"].Text);
            Json stored = Sandbox.State("facebook")["objects"].Items.Single(o => o["id"].Text == post);
            Check.Equal("P2", stored["message"].Text);
            Check.Equal(link, stored["link"].Text);
            Check.Equal(Sandbox.Sha256(Files.Clip), Objects("video").Single()["sha256"].Text);
        }

        private static async Task FacebookRemembers()
        {
            ValidTokens remembered = ValidTokens.Shared;
            TimeSpan almost = ValidTokens.Lifetime - TimeSpan.FromSeconds(9);
            var rows = new[]
            {
                new { After = TimeSpan.Zero, Token = "one", Valid = true, Requests = 1 },
                new { After = almost, Token = "one", Valid = true, Requests = 1 },
                new { After = almost, Token = "two", Valid = true, Requests = 2 },
                new { After = ValidTokens.Lifetime, Token = "one", Valid = true, Requests = 3 },
                new { After = TimeSpan.Zero, Token = "expired", Valid = false, Requests = 4 },
                new { After = TimeSpan.Zero, Token = "expired", Valid = false, Requests = 5 },
            };
            foreach (var row in rows)
            {
                remembered.Offset = row.After;
                Check.Equal(row.Valid, await Facebook.CheckTokenAsync("clock", row.Token), row.Token);
                Check.Equal(row.Requests, Sandbox.Requests().Count, row.Token + " after " + row.After);
            }
            remembered.Offset = TimeSpan.Zero;
            for (int i = 0; i < 2 * ValidTokens.Most; ++i) remembered.Add("token " + i);
            Check.That(remembered.Count <= ValidTokens.Most, "too many tokens are remembered");
        }

        private static async Task TwitterPublishes()
        {
            TwitterSignIn signIn = await Twitter.SignInAsync(Files.Consumer);
            Check.Contains(signIn.RequestToken, signIn.Url);
            TwitterUser user = await Twitter.FinishSignInAsync(Files.Consumer, signIn.RequestToken, " 1234567\n");
            await Twitter.TweetAsync(Files.Consumer, user, "hello");
            await Twitter.UploadPhotoAsync(Files.Consumer, user, new TwitterPhoto { File = Files.Photo, Text = "a photo" });
            Json media = Sandbox.State("twitter")["media"][0];
            Check.Equal(Sandbox.Sha256(Files.Photo), media["sha256"].Text);
            await Twitter.TweetAsync(Files.Consumer, user, "again", new[] { media["id"].Text });
            Json tweets = Sandbox.State("twitter")["tweets"];
            Check.Equal("hello|a photo|again", string.Join("|", tweets.Items.Select(tweet => tweet["text"].Text)));
            Check.Equal(media["id"].Text, tweets[2]["mediaIds"].Text);
            Sandbox.Script("'path': '/oauth/access_token', 'status': 200, 'body': 'oauth_token=a&oauth_token_secret=b'");
            VelkException failure = await Check.Throws<VelkException>(
                () => Twitter.FinishSignInAsync(Files.Consumer, "r", "1234567"));
            Check.Equal(VelkResult.NoIdentifier, failure.Result);
        }

        private static async Task TwitterPaths()
        {
            string folder = Path.Combine(Files.Folder, "bücher 😀"), before = Directory.GetCurrentDirectory();
            Directory.CreateDirectory(folder);
            File.Copy(Files.Photo, Path.Combine(folder, "it's.jpg"));
            Directory.SetCurrentDirectory(folder);
            try
            {
                string whole = Path.GetFullPath("it's.jpg");
                foreach (string path in new[] { "it's.jpg", "./it's.jpg", "../bücher 😀//it's.jpg", whole })
                    await Twitter.UploadPhotoAsync(Files.Consumer, Files.User,
                        new TwitterPhoto { File = path, Text = path });
            }
            finally
            {
                Directory.SetCurrentDirectory(before);
            }
            Check.Equal(4, Sandbox.State("twitter")["tweets"].Count);
        }

        private static async Task YouTubePublishes()
        {
            YouTubeVideo video = Files.Video(Files.Clip);
            video.Tags.Add("a");
            video.Tags.Add("b c");
            video.Category = "28";
            string id = await YouTube.UploadAsync("token", video);
            Json stored = Sandbox.State("youtube")["videos"][0];
            Check.Equal(id, stored["id"].Text);
            Check.Equal(Sandbox.Sha256(Files.Clip), stored["sha256"].Text);
            Check.Equal("28 private a|b c", stored["categoryId"].Text + " " + stored["privacyStatus"].Text + " " +
                string.Join("|", stored["tags"].Items.Select(tag => tag.Text)));
            await YouTube.UpdateAsync("token", id,
                new YouTubeVideo { Title = "T2", Description = "D2", Privacy = "public", Category = "22" });
            stored = Sandbox.State("youtube")["videos"][0];
            Check.Equal("T2 public 0",
                stored["title"].Text + " " + stored["privacyStatus"].Text + " " + stored["tags"].Count);
        }

        private static async Task Failures()
        {
            var tweet = new Func<Task>(() => Twitter.TweetAsync(Files.Consumer, Files.User, "x"));
            var post = new FacebookPost { Message = "m", Privacy = "SELF" };
            var video = new FacebookVideo { File = Files.Clip, Title = "T", Description = "D" };
            var large = new TwitterPhoto { File = Files.Make("large.jpg", 5242881), Text = "x" };
            var change = new FacebookChange { Message = "m", Privacy = "SELF" };
            var rows = new[]
            {
                Row("TOKEN_REJECTED", null, () => Facebook.GetUserAsync("expired")),
                Row("UNEXPECTED_REPLY", "'status': 404, 'body': '{}'", () => Facebook.GetUserAsync("token")),
                Row("TRANSFER_FAILED", "'reset': true", () => Facebook.GetUserAsync("token")),
                Row("UNSUPPORTED_GET", null, () => Facebook.GetVideoEmbedUrlAsync("token", "999")),
                Row("NO_IDENTIFIER", "'status': 200, 'body': '{}'", () => Facebook.PostAsync("token", post)),
                Row("NO_IDENTIFIER", "'status': 200, 'body': '{}'", () => Facebook.ExchangeTokenAsync("a", "s", "t")),
                Row("BUFFER_TOO_SMALL", "'status': 200, 'body': '{}', 'bodySize': 20000", () => Facebook.GetPagesAsync("t")),
                Row("MESSAGE_NOT_UPDATED", null,
                    () => Facebook.UpdateAsync("token", "999", new FacebookChange { Message = "m" })),
                Row("TEXT_NOT_UPDATED", null,
                    () => Facebook.UpdateAsync("token", "999", new FacebookChange { Description = "d" })),
                Row("PRIVACY_NOT_UPDATED", null, () => Facebook.UpdateAsync("token", "999", change)),
                Row("SERVER_ERROR", "'path': '/me/videos*', 'status': 500, 'body': '{}', 'times': 2",
                    () => Facebook.UploadVideoAsync("token", video)),
                Row("FILE_NOT_OPENED", null, () => YouTube.UploadAsync("token", Files.Video("/nowhere"))),
                Row("FILE_NOT_OPENED", null, () => YouTube.UploadAsync("token", Files.Video(Files.Folder))),
                Row("MISSING_ARGUMENT", null, () => YouTube.UploadAsync("expired", Files.Video(Files.Clip))),
                Row("MISSING_ARGUMENT", null, () => YouTube.UploadAsync("token", Files.Video(Files.Clip, ""))),
                Row("FORBIDDEN", null, () => YouTube.UploadAsync("forbidden", Files.Video(Files.Clip))),
                Row("NO_HANDLE", "'method': 'PUT', 'status': 418", () => YouTube.UploadAsync("t", Files.Video(Files.Clip))),
Row("CREDENTIALS_REFUSED", "'status': 401, 'body': 'Could not authenticate you'", tweet),
                Row("DUPLICATE_STATUS", null, async () => { await tweet(); await tweet(); }),
                Row("TOO_LARGE", null, () => Twitter.UploadPhotoAsync(Files.Consumer, Files.User, large)),
            };
            foreach (Tuple<string, string, Func<Task>> row in rows)
            {
                string name = "VELK_" + row.Item1;
                Sandbox.Reset();
                if (row.Item2 != null) Sandbox.Script(row.Item2);
                VelkException failure = await Check.Throws<VelkException>(row.Item3, name);
                Check.Equal(name, failure.Name, name);
                Check.Equal(row.Item1.Replace("_", ""), failure.Result.ToString().ToUpperInvariant(), name);
                Check.Equal(failure.Code > 0, failure.IsPartial, name);
                Check.That(failure.Advice.Length > 10 && failure.Message.Contains(failure.Advice), name + " has no advice");
            }
            Check.Equal("VELK_UNKNOWN", new VelkException((VelkResult)(-99)).Name);
        }

        private static Tuple<string, string, Func<Task>> Row(string name, string script, Func<Task> call) =>
            Tuple.Create(name, script, call);

        private static IEnumerable<Json> Objects(string kind) =>
            Sandbox.State("facebook")["objects"].Items.Where(o => o["kind"].Text == kind);
    }
}
