using System;

namespace Velk.Upload
{
    /// <summary>A call that failed. With a code above zero it succeeded in part: see <see cref="IsPartial"/>.</summary>
    public sealed partial class VelkException : Exception
    {
        private static readonly Text Unknown = new Text(0, "VELK_UNKNOWN",
            "A failure that this binding does not know.", "Use a binding of the library's version.");

        private readonly Text text;

        /// <summary>Makes the exception of a code.</summary>
        public VelkException(VelkResult result) : this(result, Find((int)result))
        {
        }

        private VelkException(VelkResult result, Text text)
            : base(text.Name + " (" + (int)result + "): " + text.Meaning + " " + text.Advice)
        {
            Result = result;
            this.text = text;
        }

        /// <summary>What the call returned; a number without a name when a later library returned it.</summary>
        public VelkResult Result { get; }

        /// <summary>The code as a number.</summary>
        public int Code => (int)Result;

        /// <summary>Such as "VELK_TOKEN_REJECTED".</summary>
        public string Name => text.Name;

        /// <summary>What the code means.</summary>
        public string Meaning => text.Meaning;

        /// <summary>What an application should do.</summary>
        public string Advice => text.Advice;

        /// <summary>True when something was published or found, but not as requested. A second try would publish it
        /// twice.</summary>
        public bool IsPartial => Code > 0;

        internal static void Check(int code)
        {
            if (code != (int)VelkResult.Ok) throw new VelkException((VelkResult)code);
        }

        private static Text Find(int code)
        {
            foreach (Text text in Texts)
                if (text.Code == code) return text;
            return Unknown;
        }

        private sealed class Text
        {
            internal readonly int Code;
            internal readonly string Name, Meaning, Advice;

            internal Text(int code, string name, string meaning, string advice)
            {
                Code = code;
                Name = name;
                Meaning = meaning;
                Advice = advice;
            }
        }
    }

    /// <summary>The library is missing, or is not the one that this assembly requires. The message has its path.
    /// </summary>
    public sealed class VelkLibraryException : Exception
    {
        internal VelkLibraryException(string message) : base("Velk.Upload: " + message)
        {
        }
    }
}
