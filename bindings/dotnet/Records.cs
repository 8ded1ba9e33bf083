using System;
using System.Collections.Generic;

namespace Velk.Upload
{
    /// <summary>Where the fields of a record are.</summary>
    internal sealed class Layout
    {
        internal static readonly Layout FacebookUploadInfo = new Layout("FacebookUploadInfo",
            "updateKind 4 targetId 260 filePath 1024 title 260 description 50000 privacy 25 link 2048", 4);
        internal static readonly Layout FacebookPage = new Layout("FacebookPage", "id 260 name 1024");
        internal static readonly Layout TwitterConsumer = new Layout("TwitterConsumer",
            "consumerKey 1024 consumerSecret 1024");
        internal static readonly Layout TwitterAccessRequest = new Layout("TwitterAccessRequest",
            "consumerKey 1024 consumerSecret 1024 requestToken 1024 verifier 1024");
        internal static readonly Layout TwitterAccessToken = new Layout("TwitterAccessToken",
            "oauthToken 1024 oauthTokenSecret 1024 userId 260 screenName 260");
        internal static readonly Layout TwitterUploadFile = new Layout("TwitterUploadFile",
            "fileName 1024 folderPath 1024 statusText 1024");
        internal static readonly Layout YoutubeUploadInfo = new Layout("YoutubeUploadInfo",
            "filePath 1024 title 300 description 5000 privacyStatus 25 categoryId 25 tags 1024");
        internal static readonly Layout[] All =
        {
            FacebookUploadInfo, FacebookPage, TwitterConsumer, TwitterAccessRequest, TwitterAccessToken,
            TwitterUploadFile, YoutubeUploadInfo,
        };

        internal readonly string Name;
        internal readonly int Size;
        internal readonly Dictionary<string, int> Offsets = new Dictionary<string, int>();
        internal readonly Dictionary<string, int> Widths = new Dictionary<string, int>();

        private Layout(string name, string fields, int alignment = 1)
        {
            Name = name;
            string[] words = fields.Split(' ');
            for (int i = 0; i < words.Length; i += 2)
            {
                Offsets[words[i]] = Size;
                Widths[words[i]] = int.Parse(words[i + 1]);
                Size += Widths[words[i]];
            }
            Size = (Size + alignment - 1) / alignment * alignment;
        }

        internal string Get(byte[] record, string field) => Strings.Decode(record, Offsets[field], Widths[field]);
    }

    /// <summary>A record that is filled from strings.</summary>
    internal sealed class Record
    {
        internal readonly byte[] Bytes;
        private readonly Layout layout;

        internal Record(Layout layout)
        {
            this.layout = layout;
            Bytes = new byte[layout.Size];
        }

        internal Record Set(string field, string value, string name, Func<string, string> encode = null,
            int longest = int.MaxValue)
        {
            longest = Math.Min(longest, layout.Widths[field] - 1);
            byte[] encoded = Strings.Encode(value, name, encode, longest);
            encoded.CopyTo(Bytes, layout.Offsets[field]);
            return this;
        }
    }
}
