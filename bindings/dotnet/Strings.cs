using System;
using System.Collections.Generic;
using System.Globalization;
using System.Text;
using System.Text.RegularExpressions;

namespace Velk.Upload
{
    /// <summary>How strings go to the library, so that they arrive unchanged, and come back from it.</summary>
    internal static class Strings
    {
        private const string Unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

        // Half of a character is an error.
        private static readonly Encoding Utf8 = new UTF8Encoding(false, true);

        /// <summary>For a URL, or a value of a form post.</summary>
        internal static string Percent(string text)
        {
            var encoded = new StringBuilder();
            foreach (byte part in Utf8.GetBytes(text))
            {
                if (Unreserved.IndexOf((char)part) >= 0) encoded.Append((char)part);
                else encoded.Append('%').Append(part.ToString("X2"));
            }
            return encoded.ToString();
        }

        /// <summary>For a post, where the library takes "NULL" for an absent value.</summary>
        internal static string Post(string text) => text == "NULL" ? "%4EULL" : Percent(text);

        /// <summary>For YouTube, whose texts travel between single quotes. Without line ends in it, the library's own
        /// escaping changes nothing and so cuts nothing.</summary>
        internal static string YouTube(string text)
        {
            var escaped = new StringBuilder();
            foreach (char c in text)
            {
                if (c == '\\') escaped.Append("\\\\");
                else if (c == '\n') escaped.Append("\\n");
                else if (c == '\r') escaped.Append("\\r");
                else if (c == '\t') escaped.Append("\\t");
                else if (c == '\'' || c < ' ') escaped.Append("\\u").Append(((int)c).ToString("X4"));
                else escaped.Append(c);
            }
            return escaped.ToString();
        }

        /// <summary>YouTube's tags, one in each line.</summary>
        internal static string Tags(IEnumerable<string> tags)
        {
            if (tags == null) throw new ArgumentNullException(nameof(tags));
            var lines = new List<string>();
            foreach (string tag in tags)
            {
                if (string.IsNullOrEmpty(tag) || tag.IndexOf('\n') >= 0)
                    throw new ArgumentException("a tag is empty or has a line end", nameof(tags));
                RefuseNul(tag, nameof(tags));
                lines.Add(YouTube(tag));
            }
            return string.Join("\n", lines);
        }

        /// <summary>The value as it goes to the library, with its terminator. By default this is its UTF-8. A value
        /// that does not fit is an error, and never cut.</summary>
        internal static byte[] Encode(string value, string name, Func<string, string> encode = null,
            int longest = int.MaxValue - 1)
        {
            if (value == null) throw new ArgumentNullException(name);
            RefuseNul(value, name);
            byte[] bytes = Utf8.GetBytes((encode == null ? value : encode(value)) + "\0");
            if (bytes.Length - 1 > longest)
                throw new ArgumentException(name + " is too long: " + (bytes.Length - 1) +
                    " bytes as it is sent, and at most " + longest + " fit", name);
            return bytes;
        }

        /// <summary>A string that the library returned, up to its terminator.</summary>
        internal static string Decode(byte[] bytes, int offset = 0, int width = int.MaxValue)
        {
            int end = offset, limit = width < bytes.Length - offset ? offset + width : bytes.Length;
            while (end < limit && bytes[end] != 0) ++end;
            return Encoding.UTF8.GetString(bytes, offset, end - offset);
        }

        /// <summary>A string that the library returned with JSON's escapes. After an unusual reply it is the
        /// punctuation around a value that is none, such as ":123,".</summary>
        internal static string DecodeJson(byte[] bytes)
        {
            string text = Decode(bytes);
            if (text == ": " || text == "," || (text.StartsWith(":", StringComparison.Ordinal) &&
                text.EndsWith(",", StringComparison.Ordinal))) return "";
            return Regex.Replace(text, @"\\(u[0-9a-fA-F]{4}|.|\z)", match =>
            {
                string escape = match.Groups[1].Value;
                if (escape.Length == 5)
                    return ((char)int.Parse(escape.Substring(1), NumberStyles.HexNumber)).ToString();
                int index = "bfnrt".IndexOf(escape, StringComparison.Ordinal);
                return index < 0 || escape == "" ? escape : "\b\f\n\r\t".Substring(index, 1);
            });
        }

        private static void RefuseNul(string value, string name)
        {
            if (value.IndexOf('\0') >= 0) throw new ArgumentException(name + " contains a NUL", name);
        }
    }
}
