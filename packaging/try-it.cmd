@echo off
rem Publishes a photo and a video to the sandbox, and compares what arrived with the originals.
rem Usage: try-it.cmd [--no-pause]
rem Without --no-pause, it opens the page of the sandbox in the browser.
rem The exit status is 0 when everything worked, otherwise 1. With --inside, it runs inside the sandbox.
setlocal EnableExtensions DisableDelayedExpansion
if "%~1"=="--inside" goto inside

rem Explorer starts a script with: cmd /c ""PATH" ". Its window closes at the end, before anyone can read it.
set "caller=%cmdcmdline:"='%"
rem Wine does not know the variable, and leaves a quote in the value.
set "caller=%caller:"=%"
set "pause="
set "page=1"
if "%~1"=="--no-pause" set "page="
if not "%caller:/c ''=%"=="%caller%" if not "%~1"=="--no-pause" set "pause=1"

rem From here on, all paths are relative: the folder's own name may contain any characters.
pushd "%~dp0"
call :outside
set "status=%errorlevel%"
popd
echo.
if "%status%"=="0" (echo Everything worked.) else echo Not everything worked: see the lines with [failed].
if defined pause pause
exit /b %status%

:outside
set "failures=0"
for %%F in (bin\velk-sandbox.exe bin\velk-publish.exe bin\LibVelkUpload.dll ^
  share\examples\media\photo.jpg share\examples\media\clip.mp4) do call :present %%F
if not "%failures%"=="0" exit /b 1
call :starts velk-sandbox.exe
call :starts velk-publish.exe
if not "%failures%"=="0" exit /b 1
echo The services are simulated on this computer, as slow as a network of 50 kB/s. Nothing leaves it.
bin\velk-sandbox.exe --slow-network 50000 -- "%ComSpec%" /d /c .\%~nx0 --inside
set "status=%errorlevel%"
if "%status%"=="0" exit /b 0
rem Status 3 is that of the steps inside, which have reported what failed.
if "%status%"=="3" exit /b 1
call :failed "The sandbox runs" "velk-sandbox ended with status %status%. Its line above states the cause." ^
  "For a port: let the firewall or the antivirus program allow bin\velk-sandbox.exe to listen on 127.0.0.1." ^
  "For a folder or a file: free some space, and check that the folder %%TEMP%% can be written."
exit /b 1

:inside
set "failures=0"
echo Open %VELK_SANDBOX_CONTROL%/ in a browser to watch what is published.
if defined page start "" "%VELK_SANDBOX_CONTROL%/" 2>nul
rem A system without a working fc, such as Wine, finds no difference between these two. Then only sizes are compared.
set "equals=equals the original"
fc.exe /b share\examples\media\photo.jpg share\examples\media\clip.mp4 >nul 2>&1
if "%errorlevel%"=="0" set "equals=has the size of the original (fc does not compare on this system)"
rem The services of the sandbox take any token.
set VELK_FACEBOOK_TOKEN=demo
set VELK_YOUTUBE_TOKEN=demo
set VELK_TWITTER_CONSUMER_SECRET=velk-secret
set "stored="
set "user="

set words=facebook photo --message "A gradient" --privacy SELF
call :upload "Facebook: photo published" photo.jpg
set words=facebook video --target 104000000000001 --title "Colour bars" --description "A test picture"
call :upload "Facebook: video published to a page" clip.mp4
set words=twitter sign-in --consumer-key velk
call :sign_in "Twitter: signed in with the PIN 1234567"
set words=twitter photo --config "%user%" --text "A gradient"
if defined user (call :upload "Twitter: photo published in a tweet" photo.jpg) else (
  call :failed "Twitter: photo published in a tweet" "The sign-in failed." "Make the sign-in work first.")
set words=youtube upload --title "Colour bars" --description "A test picture" --privacy unlisted
call :upload "YouTube: video published" clip.mp4
set words=youtube update --title Bars --description Tone --privacy public --category 22 --no-tags -- "%stored%"
if defined stored (call :publish "YouTube: title of the video changed") else (
  call :failed "YouTube: title of the video changed" "There is no video." "Make the upload of the video work first.")
if defined pause echo.
if defined pause echo The page stays at %VELK_SANDBOX_CONTROL%/ until you press a key.
if defined pause pause
if "%failures%"=="0" exit /b 0
exit /b 3

rem present FILE
:present
if not exist "%~1" call :failed "The file %~1" "It is missing." ^
  "Unpack the whole archive, and start try-it.cmd in the unpacked folder, not in the ZIP file's window." ^
  "If it is missing again, an antivirus program removed it: restore it from the quarantine."
if exist "%~1" if "%~z1"=="0" call :failed "The file %~1" "It is empty." "Unpack the whole archive again."
exit /b 0

rem starts PROGRAM
:starts
bin\%1 --help >nul
if not "%errorlevel%"=="0" call :failed "%1 starts" "It could not be started, or its DLL: status %errorlevel%." ^
  "Unpack the whole archive again, into a new folder. It is for 64-bit Windows (x64)." ^
  "If it was blocked: open the ZIP file's Properties, select Unblock, and unpack it again." ^
  "Or allow the files in bin in the antivirus program."
exit /b 0

rem publish NAME [FILE]: runs velk-publish with %words%, and returns its status.
:publish
echo.
echo ^> velk-publish %words% %~2
bin\velk-publish.exe --proxy %VELK_SANDBOX_PROXY% %words% %~2
set "status=%errorlevel%"
if not "%status%"=="0" call :refused %1
if "%status%%~2"=="0" echo [ok] %~1
exit /b %status%

rem upload NAME FILE: publishes the file, and compares it with the only file of the store that is new.
:upload
set "stored="
set "original=share\examples\media\%~2"
call :publish %1 %original%
if not "%errorlevel%"=="0" exit /b 1
for /f "delims=" %%F in ('dir /b /a-d "%VELK_SANDBOX_STORE%"') do if not defined seen_%%F set "stored=%%F"
set "size=0"
for %%F in ("%VELK_SANDBOX_STORE%\%stored%") do if defined stored set "size=%%~zF"
for %%F in (%original%) do set "sent=%%~zF"
set "seen_%stored%=1"
if not "%size%"=="%sent%" goto differs
fc.exe /b "%VELK_SANDBOX_STORE%\%stored%" %original% >nul
if not "%errorlevel%"=="0" goto differs
echo [ok] %~1, and what arrived %equals%
exit /b 0
:differs
call :failed %1 "What arrived differs from %original%: %sent% bytes were sent, %size% arrived." ^
  "Start try-it.cmd again. An antivirus program may have changed the file on its way."
exit /b 1

rem sign_in NAME: keeps the credentials of the signed-in user in the file %user%. The sandbox removes it with its store.
:sign_in
echo.
echo ^> velk-publish %words%
mkdir "%VELK_SANDBOX_STORE%\user"
set "user=%VELK_SANDBOX_STORE%\user\twitter.conf"
echo 1234567>"%user%.pin"
bin\velk-publish.exe %words% --proxy %VELK_SANDBOX_PROXY% --save "%user%" <"%user%.pin"
if "%errorlevel%"=="0" (echo [ok] %~1) else set "user="
if not defined user call :refused %1
exit /b 0

rem refused NAME
:refused
call :failed %1 "The line of velk-publish above states the cause." ^
  "If a service could not be reached: let the firewall or antivirus program allow bin\velk-publish.exe on 127.0.0.1."
exit /b 0

rem failed NAME CAUSE ADVICE...
:failed
set /a failures+=1
echo [failed] %~1
echo   Cause: %~2
for %%A in (%3 %4 %5) do echo   To do: %%~A
exit /b 0
