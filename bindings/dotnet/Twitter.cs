using System;
using System.Collections.Generic;
using System.IO;
using System.Threading;
using System.Threading.Tasks;

namespace Velk.Upload
{
    /// <summary>The application's own credentials at Twitter.</summary>
    public sealed class TwitterConsumer
    {
        /// <summary>Makes the credentials.</summary>
        public TwitterConsumer(string key, string secret)
        {
            Key = key;
            Secret = secret;
        }

        /// <summary>The key, at most 1004 bytes.</summary>
        public string Key { get; }

        /// <summary>The secret.</summary>
        public string Secret { get; }
    }

    /// <summary>A signed-in user. Keep it: it does not expire.</summary>
    public sealed class TwitterUser
    {
        /// <summary>Makes a user from what was kept.</summary>
        public TwitterUser(string token, string tokenSecret, string id, string screenName)
        {
            Token = token;
            TokenSecret = tokenSecret;
            Id = id;
            ScreenName = screenName;
        }

        /// <summary>The token, at most 1011 bytes.</summary>
        public string Token { get; }

        /// <summary>The token's secret.</summary>
        public string TokenSecret { get; }

        /// <summary>The user's number.</summary>
        public string Id { get; }

        /// <summary>The user's name.</summary>
        public string ScreenName { get; }
    }

    /// <summary>A sign-in that has begun.</summary>
    public sealed class TwitterSignIn
    {
        internal TwitterSignIn(string url)
        {
            const string name = "oauth_token=";
            Url = url;
            RequestToken = url.Substring(url.IndexOf(name, StringComparison.Ordinal) + name.Length);
        }

        /// <summary>Where the user allows the application, and sees a PIN.</summary>
        public string Url { get; }

        /// <summary>For <see cref="Twitter.FinishSignInAsync"/>.</summary>
        public string RequestToken { get; }
    }

    /// <summary>A photo to tweet.</summary>
    public sealed class TwitterPhoto
    {
        /// <summary>The path of the file, which has at most 5 MiB.</summary>
        public string File { get; set; } = "";

        /// <summary>Required, at most 420 bytes; Twitter has a limit of its own.</summary>
        public string Text { get; set; } = "";
    }

    /// <summary>Twitter: signing in, tweets, and photos. Each call throws <see cref="VelkException"/> for a failure,
    /// and <see cref="ArgumentException"/> at once for a value that cannot be sent as it is. Texts arrive unchanged.
    /// </summary>
    public static class Twitter
    {
        // The library uses that many bytes of each, and Twitter refuses what is longer as unknown.
        private const int LongestKey = 1004, LongestToken = 1011;
        private const int LongestText = 420;

        /// <summary>Begins a sign-in.</summary>
        public static Task<TwitterSignIn> SignInAsync(TwitterConsumer consumer)
        {
            byte[] key = Strings.Encode(consumer.Key, nameof(consumer.Key), null, LongestKey);
            byte[] secret = Strings.Encode(consumer.Secret, nameof(consumer.Secret)), url = new byte[2048];
            return Calls.Run(() =>
            {
                VelkException.Check(Native.Current.SignIn(key, secret, IntPtr.Zero, url));
                return new TwitterSignIn(Strings.Decode(url));
            });
        }

        /// <summary>Ends a sign-in. Blanks and a line end around the PIN are ignored.</summary>
        public static Task<TwitterUser> FinishSignInAsync(TwitterConsumer consumer, string requestToken, string pin)
        {
            Record request = SetConsumer(new Record(Layout.TwitterAccessRequest), consumer)
                .Set("requestToken", requestToken, nameof(requestToken))
                .Set("verifier", pin?.Trim(), nameof(pin), Strings.Percent);
            return Calls.Run(() =>
            {
                Layout layout = Layout.TwitterAccessToken;
                var token = new byte[layout.Size];
                VelkException.Check(Native.Current.AccessToken(request.Bytes, token));
                // A reply without all fields counts as a success.
                foreach (string field in layout.Offsets.Keys)
                    if (layout.Get(token, field).Length == 0) throw new VelkException(VelkResult.NoIdentifier);
                return new TwitterUser(layout.Get(token, "oauthToken"), layout.Get(token, "oauthTokenSecret"),
                    layout.Get(token, "userId"), layout.Get(token, "screenName"));
            });
        }

        /// <summary>Posts a tweet.</summary>
        /// <param name="consumer">The application.</param>
        /// <param name="user">The user.</param>
        /// <param name="text">At most 420 bytes; Twitter has a limit of its own, 140 or 280 characters.</param>
        /// <param name="mediaIds">The identifiers of uploaded media, or null.</param>
        public static Task TweetAsync(TwitterConsumer consumer, TwitterUser user, string text,
            IEnumerable<string> mediaIds = null)
        {
            byte[] application = Application(consumer), token = Account(user);
            byte[] status = Strings.Encode(text, nameof(text), null, LongestText);
            byte[] media = Strings.Encode(string.Join(",", mediaIds ?? new string[0]), nameof(mediaIds));
            return Calls.RunChecked(() => Native.Current.Tweet(application, token, status, media));
        }

        /// <summary>Uploads a photo, and posts a tweet that shows it.</summary>
        /// <param name="consumer">The application.</param>
        /// <param name="user">The user.</param>
        /// <param name="photo">The photo and its text.</param>
        /// <param name="progress">Called on a thread of this assembly's, and never after the task has ended. It counts
        /// each segment of 1 MiB by itself. An exception of it cancels the upload and is that of the task.</param>
        /// <param name="cancellation">Cancels the task while a segment is sent.</param>
        public static Task UploadPhotoAsync(TwitterConsumer consumer, TwitterUser user, TwitterPhoto photo,
            IProgress<UploadProgress> progress = null, CancellationToken cancellation = default(CancellationToken))
        {
            byte[] application = Application(consumer), token = Account(user);
            if (photo.File == null) throw new ArgumentNullException(nameof(photo.File));
            string name = Path.GetFileName(photo.File);
            string folder = photo.File.Substring(0, photo.File.Length - name.Length);
            // The library joins both with a separator.
            folder = folder.Length == 0
                ? "."
                : folder.TrimEnd(Path.DirectorySeparatorChar, Path.AltDirectorySeparatorChar);
            Record file = new Record(Layout.TwitterUploadFile)
                .Set("fileName", name, nameof(photo.File))
                .Set("folderPath", folder, nameof(photo.File))
                .Set("statusText", photo.Text, nameof(photo.Text), null, LongestText);
            return Calls.Upload(Native.Current.TwitterHandle,
                handle => Native.Current.StartTwitterPhoto(handle, application, token, file.Bytes), () => true,
                progress, cancellation);
        }

        private static Record SetConsumer(Record record, TwitterConsumer consumer) => record
            .Set("consumerKey", consumer.Key, nameof(consumer.Key), null, LongestKey)
            .Set("consumerSecret", consumer.Secret, nameof(consumer.Secret));

        private static byte[] Application(TwitterConsumer consumer) =>
            SetConsumer(new Record(Layout.TwitterConsumer), consumer).Bytes;

        private static byte[] Account(TwitterUser user) => new Record(Layout.TwitterAccessToken)
            .Set("oauthToken", user.Token, nameof(user.Token), null, LongestToken)
            .Set("oauthTokenSecret", user.TokenSecret, nameof(user.TokenSecret))
            .Set("userId", user.Id, nameof(user.Id))
            .Set("screenName", user.ScreenName, nameof(user.ScreenName)).Bytes;
    }
}
