using System;
using System.Diagnostics;
using System.Runtime.ExceptionServices;
using System.Threading;
using System.Threading.Tasks;

namespace Velk.Upload
{
    /// <summary>How far an upload is.</summary>
    public struct UploadProgress
    {
        internal UploadProgress(double sent, double total)
        {
            Sent = (long)sent;
            Total = (long)total;
        }

        /// <summary>Bytes sent in the current transfer.</summary>
        public long Sent { get; }

        /// <summary>Bytes to send in the current transfer.</summary>
        public long Total { get; }

        /// <summary>From 0 to 1.</summary>
        public double Fraction => Total > 0 ? (double)Sent / Total : 0;
    }

    /// <summary>Runs each call on a thread of its own, which waits for no free one of the pool.</summary>
    internal static class Calls
    {
        internal static Task<T> Run<T>(Func<T> call)
        {
            var completion = new TaskCompletionSource<T>(TaskCreationOptions.RunContinuationsAsynchronously);
            Start(() =>
            {
                try
                {
                    completion.SetResult(call());
                }
                catch (OperationCanceledException cancelled)
                {
                    completion.TrySetCanceled(cancelled.CancellationToken);
                }
                catch (Exception failure)
                {
                    completion.TrySetException(failure);
                }
            });
            return completion.Task;
        }

        internal static Task RunChecked(Func<int> call) => Run(() =>
        {
            VelkException.Check(call());
            return true;
        });

        internal static Thread Start(ThreadStart work)
        {
            var thread = new Thread(work) { IsBackground = true, Name = "Velk.Upload" };
            thread.Start();
            return thread;
        }

        /// <summary>Runs an upload on a second thread, and follows it on the first.</summary>
        internal static Task<T> Upload<T>(HandleFunctions functions, Func<IntPtr, int> start, Func<T> result,
            IProgress<UploadProgress> progress, CancellationToken cancellation)
        {
            if (cancellation.IsCancellationRequested) return Run<T>(() => throw Cancelled(cancellation));
            return Run(() =>
            {
                int code = new Follower(functions, progress, cancellation).Follow(start);
                if (code == (int)VelkResult.Cancelled) throw Cancelled(cancellation);
                VelkException.Check(code);
                return result();
            });
        }

        private static Exception Cancelled(CancellationToken cancellation) =>
            new OperationCanceledException(cancellation);
    }

    /// <summary>Polls the handle of one upload.</summary>
    internal sealed class Follower
    {
        private const int PollMilliseconds = 20;
        // A small upload to YouTube takes a cancel for some milliseconds.
        private const int CancelMilliseconds = 1;

        private readonly HandleFunctions functions;
        private readonly IProgress<UploadProgress> progress;
        private readonly CancellationToken cancellation;
        private double sent, total;
        private bool cancelled;
        private Exception failure;

        internal Follower(HandleFunctions functions, IProgress<UploadProgress> progress, CancellationToken cancellation)
        {
            this.functions = functions;
            this.progress = progress;
            this.cancellation = cancellation;
        }

        internal int Follow(Func<IntPtr, int> start)
        {
            IntPtr handle = functions.Init();
            if (handle == IntPtr.Zero) return (int)VelkResult.OutOfMemory;
            int code = 0;
            Thread upload = Calls.Start(() => code = start(handle));
            while (!upload.Join(IsCancelling ? CancelMilliseconds : PollMilliseconds))
            {
                // YouTube takes a cancel only once its PUT has begun.
                if (IsCancelling && !cancelled) cancelled = functions.Cancel(handle) == (int)VelkResult.Ok;
                Report(handle);
            }
            Report(handle);
            // Uninit refuses a finished handle of Facebook or Twitter, which then stays allocated, as the library
            // requires.
            if (functions.CancelFirst) functions.Cancel(handle);
            functions.Uninit(handle);
            if (failure != null) ExceptionDispatchInfo.Capture(failure).Throw();
            return code;
        }

        private bool IsCancelling => failure != null || cancellation.IsCancellationRequested;

        private void Report(IntPtr handle)
        {
            double nowSent = 0, nowTotal = 0;
            if (progress == null || failure != null || cancelled) return;
            if (functions.Progress(handle, ref nowSent, ref nowTotal) != (int)VelkResult.Ok || nowTotal <= 0) return;
            if (nowSent == sent && nowTotal == total) return;
            sent = nowSent;
            total = nowTotal;
            try
            {
                progress.Report(new UploadProgress(sent, total));
            }
            catch (Exception thrown)
            {
                failure = thrown;
            }
        }
    }
}
