using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Runtime.CompilerServices;
using System.Threading;
using System.Threading.Tasks;

namespace Velk.Upload.Tests
{
    /// <summary>Progress, cancelling, uploads at once, handles, and what remains of a call.</summary>
    internal static class UploadTests
    {
        private const int Size = 8000000;

        internal static void AddTo(Tests tests)
        {
            tests.Add("progress rises to the end", ProgressRises);
            tests.Add("an exception of progress cancels", ProgressThrows);
            tests.Add("a cancelled task", CancelledTask);
            tests.Add("cancel late", CancelLate);
            tests.Add("handles are released", Handles);
            tests.Add("eight uploads at once", EightAtOnce);
            tests.Add("nothing keeps the callback alive", NothingKeepsTheCallback);
        }

        private static async Task ProgressRises()
        {
            const int small = 4000000;
            int large = Path.DirectorySeparatorChar == '\\' ? small : 20000000; // Wine's TLS is slow
            string file = Files.Make("rising.mp4", large), form = Files.Make("form.mp4", small);
            var seen = new List<UploadProgress>();
            Sandbox.Slow("PUT", 2 * large);
            await YouTube.UploadAsync("token", Files.Video(file), new Recorder(seen.Add));
            CheckRising(seen);
            Check.Equal(large, seen.Last().Total);
            Check.Equal(Sandbox.Sha256(file), Sandbox.State("youtube")["videos"][0]["sha256"].Text);
            seen.Clear();
            Sandbox.Slow("POST", 8000000);
            await Facebook.UploadVideoAsync("token", new FacebookVideo { File = form, Title = "T", Description = "D" },
                new Recorder(seen.Add));
            CheckRising(seen);
        }

        private static void CheckRising(List<UploadProgress> seen)
        {
            // A system that buffers much takes all at once.
            Check.That(seen.Count > 1, "only " + seen.Count + " reports");
            for (int i = 1; i < seen.Count; ++i) Check.That(seen[i].Sent > seen[i - 1].Sent, "progress does not rise");
            Check.Equal(1, seen.Select(progress => progress.Total).Distinct().Count());
            Check.Equal(1.0, seen.Last().Fraction);
        }

        private static async Task ProgressThrows()
        {
            Sandbox.Slow("PUT", 2000000);
            var progress = new Recorder(seen => { throw new CheckFailed("mine"); });
            CheckFailed thrown = await Check.Throws<CheckFailed>(
                () => YouTube.UploadAsync("token", Files.Video(Files.Make("large.mp4", Size)), progress));
            Check.Equal("mine", thrown.Message);
            Check.Equal(0, Sandbox.State("youtube")["videos"].Count);
        }

        private static async Task CancelledTask()
        {
            Task task = YouTube.UploadAsync("token", Files.Video(Files.Clip), null, new CancellationToken(true));
            await Check.Throws<OperationCanceledException>(() => task);
            Check.That(task.IsCanceled, "the task is not cancelled");
        }

        /// <summary>While the last bytes travel, a cancel gives either result, and the truth.</summary>
        private static async Task CancelLate()
        {
            foreach (int milliseconds in new[] { 1, 10, 20, 40, 80 })
            {
                Sandbox.Reset();
                using (var source = new CancellationTokenSource(milliseconds))
                {
                    try
                    {
                        YouTubeVideo video = Files.Video(Files.Make("late.mp4", 3000000));
                        string id = await YouTube.UploadAsync("token", video, null, source.Token);
                        Check.Equal(id, Sandbox.State("youtube")["videos"][0]["id"].Text);
                    }
                    catch (OperationCanceledException)
                    {
                    }
                }
            }
        }

        /// <summary>A handle is freed after its upload, and only then. It is one of memory that Init did not make, so
        /// that its functions can be watched.</summary>
        private static async Task Handles()
        {
            foreach (bool cancelFirst in new[] { false, true })
            {
                var calls = new List<string>();
                var functions = new HandleFunctions
                {
                    Init = () => new IntPtr(1),
                    Uninit = handle => Note(calls, "uninit", 0),
                    // YouTube refuses a cancel at first.
                    Cancel = handle => Note(calls, "cancel", calls.Count(call => call == "cancel") < 2 ? -11 : 0),
                    Progress = (IntPtr handle, ref double sent, ref double total) => -1,
                    CancelFirst = cancelFirst,
                };
                using (var source = new CancellationTokenSource(50))
                {
                    Func<IntPtr, int> start = handle =>
                    {
                        Thread.Sleep(300);
                        return Note(calls, "end", 0);
                    };
                    await Calls.Upload(functions, start, () => true, null, source.Token);
                }
                string expected = "cancel cancel cancel end " + (cancelFirst ? "cancel uninit" : "uninit");
                Check.Equal(expected, string.Join(" ", calls));
            }
        }

        private static int Note(List<string> calls, string name, int result)
        {
            lock (calls) calls.Add(name);
            return result;
        }

        private static async Task EightAtOnce()
        {
            Sandbox.Slow("PUT", 4000000);
            List<Task<string>> uploads = Enumerable.Range(0, 8).Select(i =>
                YouTube.UploadAsync("token", Files.Video(Files.Make("at once " + i + ".mp4", 1000000 + i), "video " + i))).ToList();
            Check.That(uploads.All(upload => !upload.IsCompleted), "an upload blocks its caller");
            await Task.WhenAll(uploads);
            Json videos = Sandbox.State("youtube")["videos"];
            Check.Equal(8, videos.Count);
            for (int i = 0; i < 8; ++i)
            {
                Json video = videos.Items.Single(v => v["id"].Text == uploads[i].Result);
                Check.Equal("video " + i, video["title"].Text);
                Check.Equal(1000000.0 + i, video["size"].Number);
            }
        }

        private static async Task NothingKeepsTheCallback()
        {
            List<WeakReference> references = Upload();
            // The stack of a thread that ends can hold a reference a little longer.
            for (int i = 0; i < 50 && references.Any(reference => reference.IsAlive); ++i)
            {
                await Task.Delay(20);
                GC.Collect();
                GC.WaitForPendingFinalizers();
            }
            // mono's collector scans stacks conservatively: what they happen to contain stays alive.
            int alive = references.Count(reference => reference.IsAlive);
            Check.That(alive <= (Type.GetType("Mono.Runtime") == null ? 0 : 2), alive + " callbacks are alive");
        }

        [MethodImpl(MethodImplOptions.NoInlining)]
        private static List<WeakReference> Upload()
        {
            var references = new List<WeakReference>();
            using (var source = new CancellationTokenSource())
            {
                for (int i = 0; i < 8; ++i)
                {
                    var progress = new Recorder(new List<UploadProgress>().Add);
                    references.Add(new WeakReference(progress));
                    YouTube.UploadAsync("token", Files.Video(Files.Clip), progress, source.Token).GetAwaiter().GetResult();
                }
            }
            return references;
        }
    }

    internal sealed class Recorder : IProgress<UploadProgress>
    {
        private readonly Action<UploadProgress> report;

        internal Recorder(Action<UploadProgress> report)
        {
            this.report = report;
        }

        public void Report(UploadProgress value) => report(value);
    }
}
