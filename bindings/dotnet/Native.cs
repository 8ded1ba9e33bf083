using System;
using System.Collections.Generic;
using System.ComponentModel;
using System.IO;
using System.Runtime.InteropServices;

namespace Velk.Upload
{
    /// <summary>The library as a whole: where it is, and its proxy.</summary>
    public static class VelkLibrary
    {
        private const int ProxyCapacity = 256;

        /// <summary>Loads the library, which otherwise happens at the first call. It stays loaded.</summary>
        /// <param name="path">The library. Null for the one beside this assembly or the program, or in their folders
        /// "runtimes/win-x64/native" and "runtimes/linux-x64/native", or else the one that the system finds.</param>
        /// <returns>The path.</returns>
        /// <exception cref="VelkLibraryException">The library is missing, or is another one.</exception>
        /// <exception cref="InvalidOperationException">Another library is loaded already.</exception>
        public static string Load(string path = null) => Native.Load(path).Path;

        /// <summary>Sends all later requests of the process through a proxy; empty removes it. Set it before the first
        /// request: it is one string of at most 255 bytes, without a lock.</summary>
        public static string Proxy
        {
            get
            {
                var url = new byte[ProxyCapacity];
                int size = ProxyCapacity;
                VelkException.Check(Native.Current.GetProxy(url, ref size));
                return Strings.Decode(url);
            }
            set
            {
                byte[] url = Strings.Encode(value, nameof(Proxy), null, ProxyCapacity - 1);
                VelkException.Check(Native.Current.SetProxy(url));
            }
        }
    }

    /// <summary>The functions that serve a handle.</summary>
    internal sealed class HandleFunctions
    {
        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate IntPtr InitFunction();

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int HandleFunction(IntPtr handle);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int ProgressFunction(IntPtr handle, ref double sent, ref double total);

        internal InitFunction Init { get; set; }

        internal HandleFunction Uninit { get; set; }

        internal HandleFunction Cancel { get; set; }

        internal ProgressFunction Progress { get; set; }

        /// <summary>Whether a finished handle can be freed after a cancel.</summary>
        internal bool CancelFirst { get; set; }

        internal static HandleFunctions Find(Module module, string service, bool cancelFirst) => new HandleFunctions
        {
            Init = module.Find<InitFunction>("Init" + service + "FileUploder"),
            Uninit = module.Find<HandleFunction>("Uninit" + service + "FileUploder"),
            Progress = module.Find<ProgressFunction>("Get" + service + "UploadFileProgress"),
            Cancel = module.Find<HandleFunction>("Cancel" + service + "UploadFile"),
            CancelFirst = cancelFirst,
        };
    }

    /// <summary>The functions of the library. A record is an array of bytes.</summary>
    internal sealed class Native
    {
        private static readonly object Lock = new object();
        private static volatile Native current;

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int SetProxyFunction(byte[] url);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int GetProxyFunction([Out] byte[] url, ref int size);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int ExchangeFunction(byte[] app, byte[] secret, byte[] token, [Out] byte[] exchanged,
            ref uint length, ref uint lifetime);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int CheckFunction(byte[] app, byte[] token, ref uint valid);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int UserFunction(byte[] token, [Out] byte[] name, IntPtr nameSize, [Out] byte[] email,
            IntPtr emailSize);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int StartFunction(IntPtr handle, byte[] token, byte[] record, [Out] byte[] id);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int StartPhotoFunction(IntPtr handle, byte[] consumer, byte[] token, byte[] file);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int PostFunction(byte[] token, byte[] record, [Out] byte[] id);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int UpdateFunction(byte[] token, byte[] id, byte[] record);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int PagesFunction(byte[] token, ref IntPtr pages, ref int count);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int FreePagesFunction(ref IntPtr pages);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int UrlFunction(byte[] token, byte[] id, [In, Out] byte[] url, ref int size);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int SignInFunction(byte[] key, byte[] secret, IntPtr size, [Out] byte[] url);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int AccessTokenFunction(byte[] request, [Out] byte[] token);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate int TweetFunction(byte[] consumer, byte[] token, byte[] text, byte[] media);

        internal readonly string Path;
        internal readonly HandleFunctions FacebookHandle, TwitterHandle, YouTubeHandle;
        internal readonly SetProxyFunction SetProxy;
        internal readonly GetProxyFunction GetProxy;
        internal readonly ExchangeFunction ExchangeToken;
        internal readonly CheckFunction CheckToken;
        internal readonly UserFunction User;
        internal readonly StartFunction StartFacebookVideo, StartFacebookPhoto, StartYouTube;
        internal readonly PostFunction Post;
        internal readonly PagesFunction Pages;
        internal readonly FreePagesFunction FreePages;
        internal readonly UpdateFunction UpdateFacebook, UpdateYouTube;
        internal readonly UrlFunction PhotoUrl, VideoUrl, VideoEmbedUrl;
        internal readonly SignInFunction SignIn;
        internal readonly AccessTokenFunction AccessToken;
        internal readonly TweetFunction Tweet;
        internal readonly StartPhotoFunction StartTwitterPhoto;

        private Native(Module module)
        {
            Path = module.Path;
            FacebookHandle = HandleFunctions.Find(module, "Facebook", false);
            TwitterHandle = HandleFunctions.Find(module, "Twitter", false);
            YouTubeHandle = HandleFunctions.Find(module, "Youtube", true);
            SetProxy = module.Find<SetProxyFunction>("SetLibVelkUploadProxy");
            GetProxy = module.Find<GetProxyFunction>("GetLibVelkUploadProxy");
            ExchangeToken = module.Find<ExchangeFunction>("ExangeFacebookAccessToken");
            CheckToken = module.Find<CheckFunction>("CheckFacebookAccessTokenValid");
            User = module.Find<UserFunction>("GetFacebookUserNameEmail");
            StartFacebookVideo = module.Find<StartFunction>("StartFacebookUploadVideo");
            StartFacebookPhoto = module.Find<StartFunction>("StartFacebookUploadPhoto");
            Post = module.Find<PostFunction>("PostFacebookComment");
            Pages = module.Find<PagesFunction>("GetFacebookUserPagesList");
            FreePages = module.Find<FreePagesFunction>("FreeFacebookUserPagesList");
            UpdateFacebook = module.Find<UpdateFunction>("SetFacebookUpdateInfo");
            PhotoUrl = module.Find<UrlFunction>("GetFacebookPhotoUrl");
            VideoUrl = module.Find<UrlFunction>("GetFacebookVideoUrl");
            VideoEmbedUrl = module.Find<UrlFunction>("GetFacebookVideoEmbedUrl");
            SignIn = module.Find<SignInFunction>("GetTwitterOauthUrl");
            AccessToken = module.Find<AccessTokenFunction>("GetTwitterAccessToken");
            Tweet = module.Find<TweetFunction>("PostTwitterComment");
            StartTwitterPhoto = module.Find<StartPhotoFunction>("StartTwitterUploadPhoto");
            StartYouTube = module.Find<StartFunction>("StartYoutubeUploadFile");
            UpdateYouTube = module.Find<UpdateFunction>("SetYoutubeUploadFileUpdateInfo");
        }

        internal static Native Current => current ?? Load(null);

        internal static Native Load(string path)
        {
            path = path == null ? null : System.IO.Path.GetFullPath(path);
            lock (Lock)
            {
                if (current == null) current = new Native(path == null ? Module.Find() : new Module(path));
                else if (path != null && path != current.Path)
                    throw new InvalidOperationException("Velk.Upload: " + current.Path + " is loaded already");
                return current;
            }
        }
    }

    /// <summary>A loaded library. netstandard2.0 has no class for it.</summary>
    internal sealed class Module
    {
        private const uint SearchBeside = 0x100, SearchDefault = 0x1000; // of LoadLibraryEx
        private const int Now = 2; // of dlopen

        private static readonly bool Windows = System.IO.Path.DirectorySeparatorChar == '\\';
        private static readonly string FileName = Windows ? "LibVelkUpload.dll" : "libvelkupload.so.1";

        internal readonly string Path;
        private readonly IntPtr module;

        internal Module(string path, string searched = "")
        {
            Path = path;
            string failure;
            module = Windows ? OpenOnWindows(path, out failure) : OpenOnLinux(path, out failure);
            if (module == IntPtr.Zero)
                throw new VelkLibraryException("cannot load " + path + searched + ": " + failure);
        }

        /// <summary>The library beside this assembly or the program, or else what the system finds.</summary>
        internal static Module Find()
        {
            var folders = new List<string> { AppDomain.CurrentDomain.BaseDirectory };
            string assembly = typeof(Module).Assembly.Location; // empty in a program of a single file
            if (assembly.Length > 0) folders.Insert(0, System.IO.Path.GetDirectoryName(assembly));
            string native = System.IO.Path.Combine("runtimes", Windows ? "win-x64" : "linux-x64", "native");
            foreach (string folder in folders)
            {
                foreach (string part in new[] { "", native })
                {
                    string path = System.IO.Path.Combine(folder, part, FileName);
                    if (File.Exists(path)) return new Module(path);
                }
            }
            return new Module(FileName, " (it is not in " + folders[0] + ", and the system does not find it)");
        }

        internal T Find<T>(string name) where T : class
        {
            IntPtr address = Windows ? GetProcAddress(module, name) : dlsym(module, name);
            if (address == IntPtr.Zero)
                throw new VelkLibraryException(Path + " lacks the function " + name +
                    ": it is another library, or an older version");
            return (T)(object)Marshal.GetDelegateForFunctionPointer(address, typeof(T));
        }

        private static IntPtr OpenOnWindows(string path, out string failure)
        {
            bool isRooted = System.IO.Path.IsPathRooted(path);
            IntPtr module = LoadLibraryEx(path, IntPtr.Zero, isRooted ? SearchDefault | SearchBeside : SearchDefault);
            int error = Marshal.GetLastWin32Error();
            failure = error == 193
                ? "it is no library for a process of " + 8 * IntPtr.Size + " bits"
                : new Win32Exception(error).Message;
            return module;
        }

        private static IntPtr OpenOnLinux(string path, out string failure)
        {
            dlerror(); // the first call of a function loads a library, which clears the error
            IntPtr module = dlopen(path, Now);
            failure = module == IntPtr.Zero ? Marshal.PtrToStringAnsi(dlerror()) : null;
            return module;
        }

        [DllImport("kernel32", EntryPoint = "LoadLibraryExW", CharSet = CharSet.Unicode, SetLastError = true)]
        private static extern IntPtr LoadLibraryEx(string path, IntPtr reserved, uint flags);

        [DllImport("kernel32", CharSet = CharSet.Ansi)]
        private static extern IntPtr GetProcAddress(IntPtr module, string name);

        [DllImport("libdl.so.2", CharSet = CharSet.Ansi)]
        private static extern IntPtr dlopen(string path, int flags);

        [DllImport("libdl.so.2", CharSet = CharSet.Ansi)]
        private static extern IntPtr dlsym(IntPtr module, string name);

        [DllImport("libdl.so.2")]
        private static extern IntPtr dlerror();
    }
}
