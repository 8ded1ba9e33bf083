using System;
using System.Collections.Generic;
using System.Threading;
using System.Threading.Tasks;

namespace Velk.Upload
{
    /// <summary>A video to publish on YouTube, or what replaces its description.</summary>
    public sealed class YouTubeVideo
    {
        /// <summary>The path of the file. Not used by an update.</summary>
        public string File { get; set; } = "";

        /// <summary>Required, at most 299 bytes as it is sent.</summary>
        public string Title { get; set; } = "";

        /// <summary>Required, at most 4999 bytes as it is sent.</summary>
        public string Description { get; set; } = "";

        /// <summary>"public", "private" or "unlisted".</summary>
        public string Privacy { get; set; } = "private";

        /// <summary>The number of a category; 22 is people.</summary>
        public string Category { get; set; } = "22";

        /// <summary>The tags, none of which is empty or has a line end.</summary>
        public IList<string> Tags { get; set; } = new List<string>();
    }

    /// <summary>YouTube: uploading videos, and changing what was published. Each call throws
    /// <see cref="VelkException"/> for a failure, and <see cref="ArgumentException"/> at once for a value that cannot be
    /// sent as it is. Texts arrive unchanged at the sandbox; against YouTube itself this was not tested.</summary>
    public static class YouTube
    {
        private const int IdCapacity = 256;

        /// <summary>Uploads a video.</summary>
        /// <param name="token">The access token.</param>
        /// <param name="video">The video.</param>
        /// <param name="progress">Called on a thread of this assembly's, and never after the task has ended. An
        /// exception of it cancels the upload and is that of the task.</param>
        /// <param name="cancellation">Cancels the task. When everything was sent, it has no effect.</param>
        /// <returns>The identifier of the video.</returns>
        public static Task<string> UploadAsync(string token, YouTubeVideo video,
            IProgress<UploadProgress> progress = null, CancellationToken cancellation = default(CancellationToken))
        {
            Record info = Describe(video).Set("filePath", video.File, nameof(video.File));
            byte[] given = Strings.Encode(token, nameof(token)), id = new byte[IdCapacity];
            return Calls.Upload(Native.Current.YouTubeHandle,
                handle => Native.Current.StartYouTube(handle, given, info.Bytes, id), () => Strings.Decode(id),
                progress, cancellation);
        }

        /// <summary>Replaces the title, description, privacy, category and tags of a video: also pass what does not
        /// change. No tags remove the tags.</summary>
        public static Task UpdateAsync(string token, string id, YouTubeVideo video)
        {
            Record info = Describe(video);
            byte[] given = Strings.Encode(token, nameof(token));
            byte[] changed = Strings.Encode(id, nameof(id), Strings.YouTube);
            return Calls.RunChecked(() => Native.Current.UpdateYouTube(given, changed, info.Bytes));
        }

        // The library rewrites a record, so that each call has its own.
        private static Record Describe(YouTubeVideo video) => new Record(Layout.YoutubeUploadInfo)
            .Set("title", video.Title, nameof(video.Title), Strings.YouTube)
            .Set("description", video.Description, nameof(video.Description), Strings.YouTube)
            .Set("privacyStatus", video.Privacy, nameof(video.Privacy), Strings.YouTube)
            .Set("categoryId", video.Category, nameof(video.Category), Strings.YouTube)
            .Set("tags", Strings.Tags(video.Tags), nameof(video.Tags));
    }
}
