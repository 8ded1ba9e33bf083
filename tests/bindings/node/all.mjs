// Every test in one process, which shares a sandbox. Node.js for Windows cannot start the runner's own under Wine.
import './cases.test.mjs';
import './package.test.mjs';
import './uploads.test.mjs';
