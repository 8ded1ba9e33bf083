using System;
using System.Diagnostics;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Text.RegularExpressions;
using System.Threading.Tasks;

namespace Velk.Upload.Tests
{
    /// <summary>How the library is found, what is reported when it is missing or another one, and its records.</summary>
    internal static class LibraryTests
    {
        private static readonly bool Windows = Path.DirectorySeparatorChar == '\\';
        private static readonly string Name = Windows ? "LibVelkUpload.dll" : "libvelkupload.so.1";

        internal static void AddTo(Tests tests, string library)
        {
            tests.Add("library: records are laid out as the header states", Records);
            tests.Add("library: messages", () => Messages(Path.GetFullPath(library)));
            tests.Add("library: places", () => Places(Path.GetFullPath(library)));
        }

        private static Task Records()
        {
            string header = File.ReadAllText("include/velk_upload.h");
            const string opaque = "FileUploader";
            MatchCollection fields = Regex.Matches(header, @"VELK_FIELD\((\w+), (\w+), (\d+), (\d+)\);");
            MatchCollection sizes = Regex.Matches(header, @"VELK_SIZE\((\w+), (\d+)\);");
            Func<Match, int, string> group = (match, index) => match.Groups[index].Value;
            string stated = string.Join("\n", sizes.Cast<Match>().Where(size => group(size, 1) != opaque)
                .Select(size => group(size, 1) + " " + group(size, 2) + ": " + string.Join(", ", fields.Cast<Match>()
                    .Where(field => group(field, 1) == group(size, 1))
                    .Select(field => group(field, 2) + " " + group(field, 3) + " " + group(field, 4)))));
            string ours = string.Join("\n", Layout.All.Select(layout => layout.Name + " " + layout.Size + ": " +
                string.Join(", ", layout.Offsets.Select(o => o.Key + " " + o.Value + " " + layout.Widths[o.Key]))));
            Check.Equal(stated, ours);
            return Task.FromResult(0);
        }

        private static Task Messages(string library)
        {
            byte[] content = File.ReadAllBytes(library);
            string text = Write("text" + Path.GetExtension(Name), new byte[] { 1, 2, 3 });
            int machine = Windows ? BitConverter.ToInt32(content, 0x3C) + 4 : 18;
            content[machine] = Windows ? (byte)0x4C : (byte)183;
            content[machine + 1] = Windows ? (byte)0x01 : (byte)0;
            string other = Write("other" + Path.GetExtension(Name), content);
            string system = Windows ? Path.Combine(Environment.SystemDirectory, "ws2_32.dll") : SystemLibrary();
            var rows = new[]
            {
                new { Path = "", Message = "cannot load " + Name + " (it is not in " + BaseFolder() },
                new { Path = Path.GetFullPath("/nowhere/x.so"), Message = "cannot load " + Path.GetFullPath("/nowhere/x.so") },
                new { Path = text, Message = "cannot load " + text + ": " },
                new { Path = other, Message = "cannot load " + other + ": " },
                new { Path = system, Message = system + " lacks the function InitFacebookFileUploder" },
            };
            foreach (var row in rows)
            {
                string message = Child(row.Path);
                Check.Contains("VelkLibraryException: Velk.Upload: " + row.Message, message);
                Check.That(!message.TrimEnd().EndsWith(":", StringComparison.Ordinal), "no reason: " + message);
            }
            return Task.FromResult(0);
        }

        private static Task Places(string library)
        {
            string folder = BaseFolder();
            string beside = Path.Combine(folder, Name);
            string native = Path.Combine(folder, "runtimes", Windows ? "win-x64" : "linux-x64", "native", Name);
            Directory.CreateDirectory(Path.GetDirectoryName(native));
            try
            {
                File.Copy(library, native, true);
                Check.Equal("loaded " + native, Child("").Trim());
                File.Copy(library, beside, true);
                Check.Equal("loaded " + beside, Child("").Trim());
                Check.Equal("loaded " + library, Child(library).Trim());
            }
            finally
            {
                File.Delete(native);
                File.Delete(beside);
            }
            InvalidOperationException refused = null;
            try
            {
                VelkLibrary.Load("x");
            }
            catch (InvalidOperationException thrown)
            {
                refused = thrown;
            }
            Check.Contains("is loaded already", refused == null ? "" : refused.Message);
            Check.Equal(library, VelkLibrary.Load());
            return Task.FromResult(0);
        }

        /// <summary>Loads a library in a process of its own: a process loads only one.</summary>
        internal static int RunChild(string[] arguments)
        {
            try
            {
                Console.WriteLine("loaded " + VelkLibrary.Load(arguments.Length > 1 ? arguments[1] : null));
                return VelkLibrary.Proxy == "" ? 0 : 1;
            }
            catch (VelkLibraryException failure)
            {
                Console.WriteLine("VelkLibraryException: " + failure.Message);
                return 0;
            }
        }

        private static string Child(string path)
        {
            string self = Process.GetCurrentProcess().MainModule.FileName;
            string program = Assembly.GetEntryAssembly().Location;
            bool isHosted = !string.Equals(Path.GetFileNameWithoutExtension(self),
                Path.GetFileNameWithoutExtension(program), StringComparison.Ordinal);
            string arguments = (isHosted ? "\"" + program + "\" " : "") + "--child" + (path == "" ? "" : " \"" + path + "\"");
            var start = new ProcessStartInfo(self, arguments) { UseShellExecute = false, RedirectStandardOutput = true };
            using (Process child = Process.Start(start))
            {
                string output = child.StandardOutput.ReadToEnd();
                child.WaitForExit();
                Check.Equal(0, child.ExitCode, output);
                return output;
            }
        }

        private static string BaseFolder() => Path.GetDirectoryName(typeof(VelkLibrary).Assembly.Location);

        private static string SystemLibrary() => File.ReadAllLines("/proc/self/maps")
            .Select(line => line.Substring(line.LastIndexOf(' ') + 1)).First(path => path.Contains("/libc.so"));

        private static string Write(string name, byte[] content)
        {
            // A console for Windows has no letters of every script.
            string path = Path.Combine(Path.GetDirectoryName(Files.Folder), name);
            File.WriteAllBytes(path, content);
            return path;
        }
    }
}
