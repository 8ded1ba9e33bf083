using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Runtime.InteropServices;
using System.Threading;
using System.Threading.Tasks;

namespace Velk.Upload
{
    /// <summary>A video to publish on Facebook.</summary>
    public sealed class FacebookVideo
    {
        /// <summary>The path of the file. The form announces the whole path to Facebook.</summary>
        public string File { get; set; } = "";

        /// <summary>Required, at most 259 bytes.</summary>
        public string Title { get; set; } = "";

        /// <summary>Required.</summary>
        public string Description { get; set; } = "";

        /// <summary>"EVERYONE", "ALL_FRIENDS", "FRIENDS_OF_FRIENDS", "SELF" or empty.</summary>
        public string Privacy { get; set; } = "";

        /// <summary>The identifier of a page; empty for the user's own feed.</summary>
        public string Target { get; set; } = "";
    }

    /// <summary>A photo to publish on Facebook.</summary>
    public sealed class FacebookPhoto
    {
        /// <summary>The path of the file. The form announces the whole path to Facebook.</summary>
        public string File { get; set; } = "";

        /// <summary>Required.</summary>
        public string Message { get; set; } = "";

        /// <summary>Required: "EVERYONE", "ALL_FRIENDS", "FRIENDS_OF_FRIENDS" or "SELF".</summary>
        public string Privacy { get; set; } = "";

        /// <summary>The identifier of a page; empty for the user's own feed.</summary>
        public string Target { get; set; } = "";
    }

    /// <summary>A message, a link or both.</summary>
    public sealed class FacebookPost
    {
        /// <summary>The message.</summary>
        public string Message { get; set; } = "";

        /// <summary>The link.</summary>
        public string Link { get; set; } = "";

        /// <summary>"EVERYONE", "ALL_FRIENDS", "FRIENDS_OF_FRIENDS", "SELF" or empty.</summary>
        public string Privacy { get; set; } = "";

        /// <summary>The identifier of a page; empty for the user's own feed.</summary>
        public string Target { get; set; } = "";
    }

    /// <summary>What to change: a message, a message and the privacy of what its story is about, or a description. The
    /// others are null.</summary>
    public sealed class FacebookChange
    {
        /// <summary>The new message.</summary>
        public string Message { get; set; }

        /// <summary>The new privacy.</summary>
        public string Privacy { get; set; }

        /// <summary>The new description.</summary>
        public string Description { get; set; }
    }

    /// <summary>A token that lives for weeks.</summary>
    public sealed class FacebookToken
    {
        internal FacebookToken(string token, uint seconds)
        {
            Token = token;
            if (seconds > 0) Lifetime = TimeSpan.FromSeconds(seconds);
        }

        /// <summary>The token.</summary>
        public string Token { get; }

        /// <summary>Null when Facebook did not state it.</summary>
        public TimeSpan? Lifetime { get; }
    }

    /// <summary>The owner of a token.</summary>
    public sealed class FacebookUser
    {
        internal FacebookUser(string name, string email)
        {
            Name = name;
            Email = email;
        }

        /// <summary>The name.</summary>
        public string Name { get; }

        /// <summary>The library never finds it: expect an empty string.</summary>
        public string Email { get; }
    }

    /// <summary>A page that the user manages.</summary>
    public sealed class FacebookPage
    {
        internal FacebookPage(string id, string name)
        {
            Id = id;
            Name = name;
        }

        /// <summary>The identifier.</summary>
        public string Id { get; }

        /// <summary>The name, which ends at its first escape.</summary>
        public string Name { get; }
    }

    /// <summary>Facebook: tokens, the user, pages, and publishing. Each call throws <see cref="VelkException"/> for a
    /// failure, and <see cref="ArgumentException"/> at once for a value that cannot be sent as it is. Texts arrive
    /// unchanged.</summary>
    public static class Facebook
    {
        private const int ValueCapacity = 1024; // of a value that the library writes without a size

        /// <summary>Exchanges a token for a long-lived one.</summary>
        public static Task<FacebookToken> ExchangeTokenAsync(string appId, string appSecret, string token)
        {
            byte[] app = Url(appId, nameof(appId)), secret = Url(appSecret, nameof(appSecret));
            byte[] given = Url(token, nameof(token)), exchanged = new byte[ValueCapacity];
            return Calls.Run(() =>
            {
                uint length = 0, seconds = 0;
                VelkException.Check(Native.Current.ExchangeToken(app, secret, given, exchanged, ref length,
                    ref seconds));
                string value = Strings.DecodeJson(exchanged);
                if (value.Length == 0) throw new VelkException(VelkResult.NoIdentifier);
                return new FacebookToken(value, seconds);
            });
        }

        /// <summary>Whether a token is valid. A valid token is remembered for five minutes, since each check of one
        /// keeps 16 KiB until the process exits. At most 256 tokens are remembered.</summary>
        public static Task<bool> CheckTokenAsync(string appId, string token)
        {
            byte[] app = Url(appId, nameof(appId)), given = Url(token, nameof(token));
            string key = Strings.Percent(appId) + " " + Strings.Percent(token);
            if (ValidTokens.Shared.Contains(key)) return Task.FromResult(true);
            return Calls.Run(() =>
            {
                uint valid = 0;
                VelkException.Check(Native.Current.CheckToken(app, given, ref valid));
                if (valid != 0) ValidTokens.Shared.Add(key);
                return valid != 0;
            });
        }

        /// <summary>The name of the token's owner.</summary>
        public static Task<FacebookUser> GetUserAsync(string token)
        {
            byte[] given = Url(token, nameof(token)), name = new byte[ValueCapacity], email = new byte[ValueCapacity];
            return Calls.Run(() =>
            {
                VelkException.Check(Native.Current.User(given, name, IntPtr.Zero, email, IntPtr.Zero));
                return new FacebookUser(Strings.DecodeJson(name), Strings.DecodeJson(email));
            });
        }

        /// <summary>The pages that the user manages, which may be none. Their categories count as pages.</summary>
        public static Task<IReadOnlyList<FacebookPage>> GetPagesAsync(string token)
        {
            byte[] given = Url(token, nameof(token));
            return Calls.Run<IReadOnlyList<FacebookPage>>(() => ReadPages(given));
        }

        /// <summary>Uploads a video.</summary>
        /// <param name="token">The access token of the user or page.</param>
        /// <param name="video">The video.</param>
        /// <param name="progress">Called on a thread of this assembly's, and never after the task has ended. The
        /// figures count the form too, and start again when the file goes to Facebook's second host. An exception of it
        /// cancels the upload and is that of the task.</param>
        /// <param name="cancellation">Cancels the task. When everything was sent, it has no effect.</param>
        /// <returns>The identifier of the video.</returns>
        public static Task<string> UploadVideoAsync(string token, FacebookVideo video,
            IProgress<UploadProgress> progress = null, CancellationToken cancellation = default(CancellationToken))
        {
            Record info = Describe(video.Target, video.Privacy)
                .Set("description", video.Description, nameof(video.Description))
                .Set("title", video.Title, nameof(video.Title))
                .Set("filePath", video.File, nameof(video.File));
            return Upload(Native.Current.StartFacebookVideo, token, info, progress, cancellation);
        }

        /// <summary>Uploads a photo. <see cref="VelkResult.PrivacyNotUpdated"/> means that the photo exists.</summary>
        /// <param name="token">The access token of the user or page.</param>
        /// <param name="photo">The photo.</param>
        /// <param name="progress">As for a video.</param>
        /// <param name="cancellation">As for a video.</param>
        /// <returns>The identifier of the story about the photo; empty when Facebook names none.</returns>
        public static Task<string> UploadPhotoAsync(string token, FacebookPhoto photo,
            IProgress<UploadProgress> progress = null, CancellationToken cancellation = default(CancellationToken))
        {
            Record info = Describe(photo.Target, photo.Privacy)
                .Set("description", photo.Message, nameof(photo.Message))
                .Set("filePath", photo.File, nameof(photo.File));
            return Upload(Native.Current.StartFacebookPhoto, token, info, progress, cancellation);
        }

        /// <summary>Posts a message, a link or both.</summary>
        /// <returns>The identifier of the post.</returns>
        public static Task<string> PostAsync(string token, FacebookPost post)
        {
            Record info = Describe(post.Target, post.Privacy)
                .Set("description", post.Message, nameof(post.Message), Strings.Post)
                .Set("link", post.Link, nameof(post.Link), Strings.Post);
            byte[] given = Url(token, nameof(token)), id = new byte[ValueCapacity];
            return Calls.Run(() =>
            {
                VelkException.Check(Native.Current.Post(given, info.Bytes, id));
                return Strings.Decode(id);
            });
        }

        /// <summary>Changes what was published. After <see cref="VelkResult.TextNotUpdated"/> the privacy is changed.
        /// </summary>
        public static Task UpdateAsync(string token, string id, FacebookChange change)
        {
            bool isMessage = change.Message != null;
            if (isMessage == (change.Description != null) || (change.Privacy != null && !isMessage))
                throw new ArgumentException(
                    "a change has either a message, or a message and a privacy, or a description", nameof(change));
            Record info = Describe("", change.Privacy ?? "").Set("description", change.Message ?? change.Description,
                isMessage ? nameof(change.Message) : nameof(change.Description), Strings.Percent);
            info.Bytes[0] = (byte)(!isMessage ? 2 : change.Privacy != null ? 1 : 0); // updateKind
            byte[] given = Url(token, nameof(token)), changed = Url(id, nameof(id));
            return Calls.RunChecked(() => Native.Current.UpdateFacebook(given, changed, info.Bytes));
        }

        /// <summary>The URL of the page that shows a photo; empty when it has none.</summary>
        public static Task<string> GetPhotoUrlAsync(string token, string id)
        {
            byte[] given = Url(token, nameof(token)), photo = Url(id, nameof(id));
            return Calls.Run(() => FetchUrl(Native.Current.PhotoUrl, given, photo));
        }

        /// <summary>The URL of the page that shows a video. Nothing is sent.</summary>
        public static string GetVideoUrl(string id) =>
            FetchUrl(Native.Current.VideoUrl, Url("", "token"), Url(id, nameof(id)));

        /// <summary>The URL of a video's own file; empty when it has none.</summary>
        public static Task<string> GetVideoEmbedUrlAsync(string token, string id)
        {
            byte[] given = Url(token, nameof(token)), video = Url(id, nameof(id));
            return Calls.Run(() => FetchUrl(Native.Current.VideoEmbedUrl, given, video));
        }

        private static byte[] Url(string value, string name) => Strings.Encode(value, name, Strings.Percent);

        private static Record Describe(string target, string privacy)
        {
            // The library publishes to the user's own feed instead of a node that is no number.
            if (!string.IsNullOrEmpty(target) && (target[0] < '1' || target[0] > '9'))
                throw new ArgumentException("Target is no identifier: it begins with a digit from 1 to 9");
            foreach (char c in privacy ?? "")
                if ((c < 'A' || c > 'Z') && c != '_')
                    throw new ArgumentException("Privacy has other characters than A to Z and _");
            return new Record(Layout.FacebookUploadInfo)
                .Set("targetId", target, "Target", Strings.Percent)
                .Set("privacy", privacy, "Privacy");
        }

        private static Task<string> Upload(Native.StartFunction start, string token, Record info,
            IProgress<UploadProgress> progress, CancellationToken cancellation)
        {
            byte[] given = Url(token, nameof(token)), id = new byte[ValueCapacity];
            return Calls.Upload(Native.Current.FacebookHandle, handle => start(handle, given, info.Bytes, id),
                () => Strings.Decode(id), progress, cancellation);
        }

        private static string FetchUrl(Native.UrlFunction fetch, byte[] token, byte[] id)
        {
            int size = 2 * ValueCapacity;
            while (true)
            {
                var url = new byte[size];
                int code = fetch(token, id, url, ref size);
                if (code == (int)VelkResult.BufferTooSmall) continue;
                VelkException.Check(code);
                return Strings.DecodeJson(url);
            }
        }

        private static List<FacebookPage> ReadPages(byte[] token)
        {
            IntPtr list = IntPtr.Zero;
            int count = 0;
            int code = Native.Current.Pages(token, ref list, ref count);
            var pages = new List<FacebookPage>();
            if (code == (int)VelkResult.NoPages) return pages;
            VelkException.Check(code);
            try
            {
                Layout layout = Layout.FacebookPage;
                var page = new byte[layout.Size];
                for (int index = 0; index < count; ++index)
                {
                    Marshal.Copy(new IntPtr(list.ToInt64() + index * layout.Size), page, 0, layout.Size);
                    pages.Add(new FacebookPage(layout.Get(page, "id"), layout.Get(page, "name")));
                }
            }
            finally
            {
                Native.Current.FreePages(ref list);
            }
            return pages;
        }
    }

    /// <summary>The valid tokens of the last minutes.</summary>
    internal sealed class ValidTokens
    {
        internal const int Most = 256;
        internal static readonly TimeSpan Lifetime = TimeSpan.FromMinutes(5);
        internal static readonly ValidTokens Shared = new ValidTokens();

        private readonly Dictionary<string, TimeSpan> ends = new Dictionary<string, TimeSpan>();
        private readonly Stopwatch clock = Stopwatch.StartNew();

        /// <summary>For tests.</summary>
        internal TimeSpan Offset { get; set; }

        internal int Count => ends.Count;

        private TimeSpan Now => clock.Elapsed + Offset;

        internal bool Contains(string token)
        {
            lock (ends)
            {
                TimeSpan end;
                return ends.TryGetValue(token, out end) && end > Now;
            }
        }

        internal void Add(string token)
        {
            lock (ends)
            {
                if (ends.Count >= Most) ends.Clear();
                ends[token] = Now + Lifetime;
            }
        }
    }
}
