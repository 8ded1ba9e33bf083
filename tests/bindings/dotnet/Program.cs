// Tests the binding for .NET inside the sandbox. Arguments: the library, and words that the names of tests contain.
using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.IO;
using System.Linq;
using System.Threading.Tasks;

namespace Velk.Upload.Tests
{
    internal static class Program
    {
        private static int Main(string[] arguments)
        {
            if (arguments.Length > 0 && arguments[0] == "--child") return LibraryTests.RunChild(arguments);
            VelkLibrary.Load(arguments[0]);
            VelkLibrary.Proxy = Environment.GetEnvironmentVariable("VELK_SANDBOX_PROXY");
            var tests = new Tests();
            FunctionTests.AddTo(tests);
            CaseTests.AddTo(tests);
            UploadTests.AddTo(tests);
            LibraryTests.AddTo(tests, arguments[0]);
            return tests.Run(arguments.Skip(1).ToArray());
        }
    }

    /// <summary>Named tests. Each begins with a sandbox without requests, state and scripts.</summary>
    internal sealed class Tests
    {
        private readonly List<KeyValuePair<string, Func<Task>>> tests = new List<KeyValuePair<string, Func<Task>>>();

        internal void Add(string name, Func<Task> test) => tests.Add(new KeyValuePair<string, Func<Task>>(name, test));

        internal int Run(string[] words)
        {
            int passed = 0, failed = 0;
            foreach (KeyValuePair<string, Func<Task>> test in tests)
            {
                if (words.Length > 0 && !words.Any(word => test.Key.Contains(word))) continue;
                var clock = Stopwatch.StartNew();
                try
                {
                    Sandbox.Reset();
                    test.Value().GetAwaiter().GetResult();
                    ++passed;
                    if (words.Length > 0) Console.WriteLine(test.Key + ": " + clock.ElapsedMilliseconds + " ms");
                }
                catch (Exception failure)
                {
                    ++failed;
                    Console.WriteLine("FAILED: " + test.Key + "\n" + failure);
                }
            }
            Console.WriteLine("dotnet: " + passed + " passed, " + failed + " failed");
            return failed == 0 && passed > 0 ? 0 : 1;
        }
    }

    internal sealed class CheckFailed : Exception
    {
        internal CheckFailed(string message) : base(message)
        {
        }
    }

    internal static class Check
    {
        internal static void That(bool condition, string what)
        {
            if (!condition) throw new CheckFailed(what);
        }

        internal static void Equal<T>(T expected, T actual, string what = "")
        {
            That(EqualityComparer<T>.Default.Equals(expected, actual),
                what + ": expected \"" + expected + "\", not \"" + actual + "\"");
        }

        internal static void Contains(string part, string whole) =>
            That(whole.IndexOf(part, StringComparison.OrdinalIgnoreCase) >= 0, "expected \"" + part + "\" in \"" + whole + "\"");

        /// <summary>The exception that a call throws, at once or through its task.</summary>
        internal static async Task<T> Throws<T>(Func<Task> call, string what = "") where T : Exception
        {
            try
            {
                await call();
            }
            catch (T expected)
            {
                return expected;
            }
            throw new CheckFailed(what + ": no " + typeof(T).Name);
        }
    }

    /// <summary>Files to upload.</summary>
    internal static class Files
    {
        internal static readonly string Photo = Path.GetFullPath("examples/media/photo.jpg");
        internal static readonly string Clip = Path.GetFullPath("examples/media/clip.mp4");
        internal static readonly string Folder = MakeFolder();

        /// <summary>A file of that size. Its bytes repeat only after a long time.</summary>
        internal static string Make(string name, int size)
        {
            string path = Path.Combine(Folder, name);
            if (File.Exists(path)) return path;
            var bytes = new byte[size];
            for (int i = 0; i < size; ++i) bytes[i] = (byte)(i * 31 + (i >> 8) * 17);
            File.WriteAllBytes(path, bytes);
            return path;
        }

        internal static YouTubeVideo Video(string file, string title = "T") =>
            new YouTubeVideo { File = file, Title = title, Description = "D" };

        /// <summary>The folder, with the files of the cases.</summary>
        private static string MakeFolder()
        {
            string temporary = Path.Combine(Path.GetTempPath(), "velk-dotnet-" + Guid.NewGuid().ToString("N"));
            string folder = Path.Combine(temporary, "我的 & пр 😀"), large = Path.Combine(folder, "large.jpg");
            Directory.CreateDirectory(folder);
            AppDomain.CurrentDomain.ProcessExit += (sender, e) => Directory.Delete(temporary, true);
            File.Copy(Clip, Path.Combine(folder, "clip.mp4"));
            foreach (string name in new[] { "photo.jpg", "it's.jpg", "large.jpg" })
                File.Copy(Photo, Path.Combine(folder, name));
            using (FileStream file = File.OpenWrite(large)) file.SetLength(3000000);
            File.WriteAllBytes(Path.Combine(folder, "too large.jpg"), new byte[5242881]);
            return folder;
        }
    }
}
