using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Globalization;
using System.IO;
using System.Linq;
using System.Net.Sockets;
using System.Security.Cryptography;
using System.Text;
using System.Threading;

namespace Velk.Upload.Tests
{
    /// <summary>The sandbox's control URL.</summary>
    internal static class Sandbox
    {
        private static readonly Uri Control = new Uri(Environment.GetEnvironmentVariable("VELK_SANDBOX_CONTROL"));

        internal static void Reset() => Send("POST", "/reset", "{}");

        /// <summary>Adds a script.</summary>
        internal static void Script(string json) => Send("POST", "/scripts", json);

        /// <summary>Has the sandbox read all later requests with this method slowly.</summary>
        internal static void Slow(string method, int bytesPerSecond) => Script(Json.Object("method", method,
            "passThrough", true, "readSlowly", (double)bytesPerSecond, "times", 0.0).ToString());

        internal static Json State(string service) => Send("GET", "/state", "")[service];

        internal static Json Requests() => Send("GET", "/requests", "");

        /// <summary>Waits for a request to a path.</summary>
        internal static void Await(string path)
        {
            for (var clock = Stopwatch.StartNew(); clock.ElapsedMilliseconds < 10000; Thread.Sleep(5))
                if (Requests().Items.Any(request => request["target"].Text.Split('?')[0] == path)) return;
            throw new CheckFailed("no request to " + path);
        }

        internal static string Sha256(string path)
        {
            using (SHA256 hash = SHA256.Create())
            using (FileStream file = File.OpenRead(path))
                return BitConverter.ToString(hash.ComputeHash(file)).Replace("-", "").ToLowerInvariant();
        }

        private static Json Send(string method, string path, string body)
        {
            byte[] bytes = Encoding.UTF8.GetBytes(body);
            string head = method + " " + path + " HTTP/1.1\r\nHost: " + Control.Authority +
                "\r\nConnection: close\r\nContent-Length: " + bytes.Length + "\r\n\r\n";
            using (var client = new TcpClient(Control.Host, Control.Port))
            using (NetworkStream stream = client.GetStream())
            {
                stream.Write(Encoding.ASCII.GetBytes(head), 0, head.Length);
                stream.Write(bytes, 0, bytes.Length);
                string reply = new StreamReader(stream, Encoding.UTF8).ReadToEnd();
                Check.That(reply.StartsWith("HTTP/1.1 200", StringComparison.Ordinal), method + " " + path + ": " + reply);
                return Json.Parse(reply.Substring(reply.IndexOf("\r\n\r\n", StringComparison.Ordinal) + 4));
            }
        }
    }

    /// <summary>A value of JSON. mono's packages have no reader of it.</summary>
    internal sealed class Json
    {
        /// <summary>null, a string, a bool, a double, a list or a dictionary.</summary>
        internal readonly object Value;

        internal Json(object value)
        {
            Value = value;
        }

        /// <summary>An object of alternating names and values.</summary>
        internal static Json Object(params object[] members) => new Json(Enumerable.Range(0, members.Length / 2)
            .ToDictionary(i => (string)members[2 * i], i => new Json(members[2 * i + 1])));

        internal Json this[string name] => Members[name];

        internal Json this[int index] => Items[index];

        internal Dictionary<string, Json> Members => Value as Dictionary<string, Json>;

        internal bool Has(string name) => Members != null && Members.ContainsKey(name);

        internal List<Json> Items => Value as List<Json>;

        internal List<string> Texts => Items.Select(item => item.Text).ToList();

        internal int Count => Items.Count;

        internal string Text => (string)Value;

        internal double Number => (double)Value;

        public override string ToString()
        {
            if (Members != null)
                return "{" + string.Join(",", Members.Select(each => new Json(each.Key) + ":" + each.Value)) + "}";
            if (Items != null) return "[" + string.Join(",", Items) + "]";
            if (Value is string)
                return "\"" + string.Concat(Text.Select(c => "\\u" + ((int)c).ToString("x4"))) + "\"";
            return Value == null ? "null" : Convert.ToString(Value, CultureInfo.InvariantCulture).ToLowerInvariant();
        }

        internal static Json Parse(string text)
        {
            int at = 0;
            return Parse(text, ref at);
        }

        private static Json Parse(string text, ref int at)
        {
            switch (Peek(text, ref at))
            {
                case '{':
                    var members = new Dictionary<string, Json>();
                    while (Next(text, ref at, '}'))
                    {
                        string name = ParseString(text, ref at);
                        Next(text, ref at, ':');
                        members[name] = Parse(text, ref at);
                    }
                    return new Json(members);
                case '[':
                    var items = new List<Json>();
                    while (Next(text, ref at, ']')) items.Add(Parse(text, ref at));
                    return new Json(items);
                case '"':
                    return new Json(ParseString(text, ref at));
                default:
                    int start = at;
                    while (at < text.Length && ",]} \r\n".IndexOf(text[at]) < 0) ++at;
                    string word = text.Substring(start, at - start);
                    if (word == "null") return new Json(null);
                    return new Json(word == "true" || word == "false"
                        ? (object)(word == "true")
                        : double.Parse(word, NumberStyles.Float, CultureInfo.InvariantCulture));
            }
        }

        private static char Peek(string text, ref int at)
        {
            while (char.IsWhiteSpace(text[at])) ++at;
            return text[at];
        }

        /// <summary>Goes past an opening bracket, a comma or a colon. False at the closing one.</summary>
        private static bool Next(string text, ref int at, char closing)
        {
            if (Peek(text, ref at) != closing)
            {
                if ("{[,:".IndexOf(text[at]) >= 0) ++at;
                if (Peek(text, ref at) != closing || closing == ':') return true;
            }
            ++at;
            return closing == ':';
        }

        private static string ParseString(string text, ref int at)
        {
            var result = new StringBuilder();
            for (Peek(text, ref at), ++at; text[at] != '"'; ++at)
            {
                if (text[at] != '\\')
                {
                    result.Append(text[at]);
                    continue;
                }
                int index = "bfnrt".IndexOf(text[++at]);
                if (text[at] == 'u')
                {
                    result.Append((char)int.Parse(text.Substring(at + 1, 4), NumberStyles.HexNumber));
                    at += 4;
                }
                else
                {
                    result.Append(index < 0 ? text[at] : "\b\f\n\r\t"[index]);
                }
            }
            ++at;
            return result.ToString();
        }
    }
}
