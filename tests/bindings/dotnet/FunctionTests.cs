using System;
using System.Collections.Generic;
using System.Threading.Tasks;

namespace Velk.Upload.Tests
{
    /// <summary>What is peculiar to the functions in .NET.</summary>
    internal static class FunctionTests
    {
        internal static void AddTo(Tests tests)
        {
            tests.Add("a valid token is remembered for five minutes", Remembers);
            tests.Add("null and half of a character are refused", Refuses);
            tests.Add("a code of a later version is a failure", NamesUnknownCodes);
        }

        private static async Task Remembers()
        {
            ValidTokens remembered = ValidTokens.Shared;
            TimeSpan almost = ValidTokens.Lifetime - TimeSpan.FromSeconds(9);
            var rows = new[]
            {
                new { After = TimeSpan.Zero, Token = "one", Requests = 1 },
                new { After = almost, Token = "one", Requests = 1 },
                new { After = almost, Token = "two", Requests = 2 },
                new { After = ValidTokens.Lifetime, Token = "one", Requests = 3 },
            };
            foreach (var row in rows)
            {
                remembered.Offset = row.After;
                Check.That(await Facebook.CheckTokenAsync("clock", row.Token), row.Token);
                Check.Equal(row.Requests, Sandbox.Requests().Count, row.Token + " after " + row.After);
            }
            remembered.Offset = TimeSpan.Zero;
            for (int i = 0; i < 2 * ValidTokens.Most; ++i) remembered.Add("token " + i);
            Check.That(remembered.Count <= ValidTokens.Most, "too many tokens are remembered");
        }

        private static async Task Refuses()
        {
            foreach (string message in new[] { null, "half: \ud83d" })
                await Check.Throws<ArgumentException>(
                    () => Facebook.PostAsync("token", new FacebookPost { Message = message }), message);
            var consumer = new TwitterConsumer("ck", "ck-secret");
            var user = new TwitterUser("tk", "tk-secret", "7", "velk");
            var calls = new Dictionary<string, Func<Task>>
            {
                { "privacy", () => Facebook.PostAsync("token", new FacebookPost { Message = "M", Privacy = null }) },
                { "pin", () => Twitter.FinishSignInAsync(consumer, "token", null) },
                { "file", () => Twitter.UploadPhotoAsync(consumer, user, new TwitterPhoto { File = null, Text = "T" }) },
                { "tags", () => YouTube.UpdateAsync("token", "id",
                    new YouTubeVideo { Title = "T", Description = "D", Tags = null }) },
            };
            foreach (var call in calls)
                Check.Contains(call.Key, (await Check.Throws<ArgumentNullException>(call.Value, call.Key)).ParamName);
            Check.Equal(0, Sandbox.Requests().Count);
        }

        private static Task NamesUnknownCodes()
        {
            var failure = new VelkException((VelkResult)(-99));
            Check.Equal("VELK_UNKNOWN -99 False", failure.Name + " " + failure.Code + " " + failure.IsPartial);
            return Task.FromResult(0);
        }
    }
}
