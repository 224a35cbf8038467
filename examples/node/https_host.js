'use strict';
// A web server in Node.js on the library: init leaves a key and a certificate, and one page is served with
// exactly that pair, on the loopback interface, until SIGTERM or SIGINT.
//
//     node https_host.js [PORT]
//
// PORT 0, the default, lets the system choose. The addon lies beside this file.
const fs = require('node:fs');
const https = require('node:https');
const { init, uninit } = require('./qvsslinit.node');

// The most that a client who says nothing holds up the end.
const PATIENCE = 5000; // ms

/** Certificate and key as the library has made them, or found them. */
function defaultPair() {
  const data = process.env.QVPUBAPPDATADIR ?? '';
  const directory = data.startsWith('/') ? data : '/var/lib/kestrix';
  const pair = `${directory}/certstore/server_certs/server_0`;
  return { cert: fs.readFileSync(`${pair}.cer`), key: fs.readFileSync(`${pair}.key`) };
}

function serve(port, ended) {
  const server = https.createServer(
    {
      ...defaultPair(),
      // Debian's level of security, 2, refuses the default pair, whose RSA key has 1024 bits. A better pair
      // needs no such line.
      ciphers: 'DEFAULT@SECLEVEL=1',
      handshakeTimeout: PATIENCE,
    },
    (request, response) => {
      response.setHeader('Content-Type', 'text/plain');
      response.end('Served over HTTPS with the default certificate.\n');
    },
  );
  server.on('close', ended);
  server.on('error', (error) => fail(error, ended));
  server.listen(port, '127.0.0.1', () => {
    console.log(`listening on https://127.0.0.1:${server.address().port}/`);
  });
  for (const signal of ['SIGTERM', 'SIGINT']) {
    process.once(signal, () => {
      server.close();
      server.closeIdleConnections();
      setTimeout(() => server.closeAllConnections(), PATIENCE).unref();
    });
  }
}

function fail(error, ended) {
  console.error(`https_host.js: ${error.message}`);
  process.exitCode = 1;
  ended();
}

function main(port = '0') {
  let handle;
  const ended = () => handle !== undefined && uninit(handle);
  try {
    handle = init();
    serve(Number(port), ended);
  } catch (error) {
    fail(error, ended);
  }
}

main(process.argv[2]);
