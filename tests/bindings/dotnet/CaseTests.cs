using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Threading;
using System.Threading.Tasks;

namespace Velk.Upload.Tests
{
    /// <summary>The cases that all bindings share.</summary>
    internal static class CaseTests
    {
        private static readonly Json Results = Json.Parse(File.ReadAllText("docs/result_codes.json"));
        private static readonly Json All = Json.Parse(File.ReadAllText("tests/bindings/cases.json"));

        internal static void AddTo(Tests tests)
        {
            foreach (Json one in All["cases"].Items)
            {
                foreach (Json row in one.Has("each") ? All["strings"].Items : new List<Json> { Json.Object() })
                {
                    string name = one["name"].Text + (row.Has("name") ? ": " + row["name"].Text : "");
                    tests.Add(name, () => Run(one.Has("steps") ? one["steps"].Items : new List<Json> { one }, row));
                }
            }
        }

        private static async Task Run(IEnumerable<Json> steps, Json row)
        {
            var variables = row.Members.ToDictionary(member => member.Key, member => member.Value.Text);
            variables["folder"] = Files.Folder;
            variables["proxy"] = Environment.GetEnvironmentVariable("VELK_SANDBOX_PROXY");
            string before = Directory.GetCurrentDirectory();
            Directory.SetCurrentDirectory(Files.Folder);
            try
            {
                foreach (Json step in steps) await RunStep(step, variables);
            }
            finally
            {
                Directory.SetCurrentDirectory(before);
            }
        }

        private static async Task RunStep(Json step, Dictionary<string, string> variables)
        {
            if (step.Has("scripts"))
                foreach (Json script in step["scripts"].Items) Sandbox.Script(Expand(script, variables).ToString());
            var values = All["defaults"][step["call"].Text].Members.ToDictionary(each => each.Key, each => each.Value);
            if (step.Has("with"))
                foreach (KeyValuePair<string, Json> member in step["with"].Members) values[member.Key] = member.Value;
            Func<Task<Json>> call = () => Call(step, Expand(new Json(values), variables));
            if (step.Has("fails"))
                await CheckFailure(call, step);
            else if (step.Has("refused"))
                Check.Contains(step["refused"].Text, (await Check.Throws<ArgumentException>(call)).Message);
            else
                CheckResult(await call(), step, variables);
            if (step.Has("requests")) Check.Equal((int)step["requests"].Number, Sandbox.Requests().Count, "requests");
        }

        private static async Task CheckFailure(Func<Task<Json>> call, Json step)
        {
            if (step["fails"].Text == "VELK_CANCELLED")
            {
                await Check.Throws<OperationCanceledException>(call);
                return;
            }
            VelkException failure = await Check.Throws<VelkException>(call);
            Json expected = Results.Items.Single(result => result["name"].Text == step["fails"].Text);
            string name = expected["name"].Text, texts = expected["meaning"].Text + " " + expected["advice"].Text;
            Check.Equal(name, failure.Name);
            Check.Equal(name.Substring(5).Replace("_", ""), failure.Result.ToString().ToUpperInvariant());
            Check.Equal(expected["code"].Number, failure.Code, name);
            Check.Equal(texts, failure.Meaning + " " + failure.Advice, name);
            Check.Equal(name + " (" + failure.Code + "): " + texts, failure.Message, name);
            Check.Equal(failure.Code > 0, failure.IsPartial, name);
        }

        private static void CheckResult(Json result, Json step, Dictionary<string, string> variables)
        {
            Save(step.Has("as") ? step["as"].Text : "result", result, variables);
            if (step.Has("returns")) Compare(Expand(step["returns"], variables), result, step["call"].Text);
        }

        /// <summary>An object may have more members than expected.</summary>
        private static void Compare(Json expected, Json actual, string where)
        {
            if (expected.Members != null)
            {
                foreach (KeyValuePair<string, Json> member in expected.Members)
                    Compare(member.Value, actual[member.Key], where + "." + member.Key);
            }
            else if (expected.Items != null)
            {
                Check.Equal(expected.Count, actual.Count, where);
                for (int i = 0; i < expected.Count; ++i) Compare(expected[i], actual[i], where + "." + i);
            }
            else
            {
                Check.Equal(expected.Value, actual.Value, where);
            }
        }

        /// <summary>Sets the variable of a value, and those of its members.</summary>
        private static void Save(string name, Json value, Dictionary<string, string> variables)
        {
            variables[name] = Convert.ToString(value.Value);
            if (value.Members != null)
                foreach (KeyValuePair<string, Json> member in value.Members)
                    Save(name + "." + member.Key, member.Value, variables);
            if (value.Items != null)
                for (int i = 0; i < value.Count; ++i) Save(name + "." + i, value[i], variables);
        }

        /// <summary>With the values of variables, and what is repeated written out.</summary>
        private static Json Expand(Json value, Dictionary<string, string> variables)
        {
            if (value.Has("of"))
                return new Json((value.Has("before") ? value["before"].Text : "") +
                    string.Concat(Enumerable.Repeat(value["of"].Text, (int)value["times"].Number)) +
                    (value.Has("then") ? value["then"].Text : ""));
            if (value.Members != null)
                return new Json(value.Members.ToDictionary(member => member.Key, member => Expand(member.Value, variables)));
            if (value.Items != null) return new Json(value.Items.Select(item => Expand(item, variables)).ToList());
            if (!(value.Value is string)) return value;
            string text = value.Text;
            foreach (KeyValuePair<string, string> variable in variables)
                text = text.Replace("${" + variable.Key + "}", variable.Value);
            return new Json(text);
        }

        private static async Task<Json> Call(Json step, Json values)
        {
            string when = step.Has("cancel") ? step["cancel"].Text : "";
            using (var source = new CancellationTokenSource())
            {
                if (when == "before") source.Cancel();
                var progress = new Recorder(seen => { if (when == "sent" && seen.Sent > 0) source.Cancel(); });
                Action cancelOnArrival = () =>
                {
                    Sandbox.Await(when);
                    source.Cancel();
                };
                Task watcher = when.StartsWith("/") ? Task.Run(cancelOnArrival) : Task.FromResult(0);
                try
                {
                    return await Dispatch(step["call"].Text, values, progress, source.Token);
                }
                catch (OperationCanceledException cancelled)
                {
                    Check.Equal(source.Token, cancelled.CancellationToken, "token");
                    throw;
                }
                finally
                {
                    await watcher;
                    source.Cancel();
                }
            }
        }

        private static async Task<Json> Dispatch(string name, Json values, Recorder progress, CancellationToken cancel)
        {
            Func<string, string> value = member => values.Has(member) ? values[member].Text : "";
            string token = value("token"), id = value("id");
            var consumer = new TwitterConsumer(value("key"), value("secret"));
            var user = new TwitterUser(value("userToken"), value("userSecret"), "7", "velk");
            switch (name)
            {
                case "getProxy":
                    return new Json(VelkLibrary.Proxy);
                case "setProxy":
                    VelkLibrary.Proxy = value("url");
                    return new Json("");
                case "requests":
                    return Sandbox.Requests();
                case "stored":
                    string[] kind = value("kind").Split('.');
                    return Sandbox.State(kind[0])[kind[1]];
                case "facebook.exchangeToken":
                    FacebookToken exchanged = await Facebook.ExchangeTokenAsync(value("appId"), value("appSecret"), token);
                    return Json.Object("token", exchanged.Token, "seconds", exchanged.Lifetime.Value.TotalSeconds);
                case "facebook.checkToken":
                    return new Json(await Facebook.CheckTokenAsync(value("appId"), token));
                case "facebook.user":
                    FacebookUser account = await Facebook.GetUserAsync(token);
                    return Json.Object("name", account.Name, "email", account.Email);
                case "facebook.pages":
                    return new Json((await Facebook.GetPagesAsync(token))
                        .Select(page => Json.Object("id", page.Id, "name", page.Name)).ToList());
                case "facebook.uploadVideo":
                    FacebookVideo video = Fill(new FacebookVideo(), values);
                    return new Json(await Facebook.UploadVideoAsync(token, video, progress, cancel));
                case "facebook.uploadPhoto":
                    FacebookPhoto photo = Fill(new FacebookPhoto(), values);
                    return new Json(await Facebook.UploadPhotoAsync(token, photo, progress, cancel));
                case "facebook.post":
                    return new Json(await Facebook.PostAsync(token, Fill(new FacebookPost(), values)));
                case "facebook.update":
                    await Facebook.UpdateAsync(token, id, Fill(new FacebookChange(), values));
                    return new Json("");
                case "facebook.photoUrl":
                    return new Json(await Facebook.GetPhotoUrlAsync(token, id));
                case "facebook.videoUrl":
                    return new Json(Facebook.GetVideoUrl(id));
                case "facebook.videoEmbedUrl":
                    return new Json(await Facebook.GetVideoEmbedUrlAsync(token, id));
                case "twitter.signIn":
                    TwitterSignIn begun = await Twitter.SignInAsync(consumer);
                    return Json.Object("url", begun.Url, "requestToken", begun.RequestToken);
                case "twitter.finishSignIn":
                    TwitterUser signedIn =
                        await Twitter.FinishSignInAsync(consumer, value("requestToken"), value("pin"));
                    return Json.Object("token", signedIn.Token, "tokenSecret", signedIn.TokenSecret, "id", signedIn.Id,
                        "screenName", signedIn.ScreenName);
                case "twitter.tweet":
                    IEnumerable<string> media = values.Has("mediaIds") ? values["mediaIds"].Texts : null;
                    await Twitter.TweetAsync(consumer, user, value("text"), media);
                    return new Json("");
                case "twitter.uploadPhoto":
                    await Twitter.UploadPhotoAsync(consumer, user, Fill(new TwitterPhoto(), values), progress, cancel);
                    return new Json("");
                case "youtube.upload":
                    return new Json(await YouTube.UploadAsync(token, Fill(new YouTubeVideo(), values), progress, cancel));
                case "youtube.update":
                    await YouTube.UpdateAsync(token, id, Fill(new YouTubeVideo(), values));
                    return new Json("");
                default:
                    throw new CheckFailed("no function " + name);
            }
        }

        /// <summary>Sets the properties that have the names of values. It does so with delegates, since
        /// PropertyInfo.SetValue makes dynamic methods, which end a process of CoreCLR under Wine.</summary>
        private static T Fill<T>(T target, Json values)
        {
            foreach (KeyValuePair<string, Json> member in values.Members)
            {
                string name = char.ToUpperInvariant(member.Key[0]) + member.Key.Substring(1);
                PropertyInfo property = typeof(T).GetProperty(name);
                if (property == null) continue;
                bool isString = property.PropertyType == typeof(string);
                Type type = isString ? typeof(Action<string>) : typeof(Action<IList<string>>);
                Delegate set = Delegate.CreateDelegate(type, target, property.GetSetMethod());
                if (isString) ((Action<string>)set)(member.Value.Text);
                else ((Action<IList<string>>)set)(member.Value.Texts);
            }
            return target;
        }
    }
}
