using System;
using System.Collections.Generic;
using System.Globalization;
using System.IO;
using System.Net.Sockets;
using System.Security.Cryptography;
using System.Text;

namespace Velk.Upload.Tests
{
    /// <summary>The sandbox's control URL.</summary>
    internal static class Sandbox
    {
        private static readonly Uri Control = new Uri(Environment.GetEnvironmentVariable("VELK_SANDBOX_CONTROL"));

        internal static void Reset() => Send("POST", "/reset", "{}");

        /// <summary>Adds a script. Single quotes are written for double ones.</summary>
        internal static void Script(string members) => Send("POST", "/scripts", "{" + members.Replace('\'', '"') + "}");

        internal static Json State(string service) => Send("GET", "/state", "")[service];

        internal static Json Requests() => Send("GET", "/requests", "");

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
        private readonly object value;

        private Json(object value)
        {
            this.value = value;
        }

        internal Json this[string name] => ((Dictionary<string, Json>)value)[name];

        internal Json this[int index] => Items[index];

        internal List<Json> Items => (List<Json>)value;

        internal int Count => Items.Count;

        internal string Text => (string)value;

        internal double Number => (double)value;

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
                    double number;
                    return double.TryParse(word, NumberStyles.Float, CultureInfo.InvariantCulture, out number)
                        ? new Json(number)
                        : new Json(word == "null" ? null : word);
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
