// A program: a DLNA server on the loopback interface with one picture, of which it sends the
// first half and never the other. Prints a line when the first half is sent.
//
//   node holding_server.mjs BYTES
import dgram from 'node:dgram';
import http from 'node:http';

const SIZE = Number(process.argv[2]);
const ID = 'uuid:4d696e69-444c-164e-9d41-0000000000aa';
const DEVICE = 'urn:schemas-upnp-org:device:MediaServer:1';
const SERVICE = 'urn:schemas-upnp-org:service:ContentDirectory:1';

const escaped = (text) => text.replaceAll('&', '&amp;').replaceAll('<', '&lt;').replaceAll('>', '&gt;');

const description = `<?xml version="1.0"?><root xmlns="urn:schemas-upnp-org:device-1-0">
<specVersion><major>1</major><minor>0</minor></specVersion><device><deviceType>${DEVICE}</deviceType>
<friendlyName>Shelf</friendlyName><manufacturer>none</manufacturer><modelName>none</modelName><UDN>${ID}</UDN>
<serviceList><service><serviceType>${SERVICE}</serviceType><serviceId>urn:upnp-org:serviceId:ContentDirectory</serviceId>
<SCPDURL>/scpd.xml</SCPDURL><controlURL>/control</controlURL><eventSubURL>/events</eventSubURL></service></serviceList>
</device></root>`;

const didl = (url) => `<DIDL-Lite xmlns="urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/"
 xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:upnp="urn:schemas-upnp-org:metadata-1-0/upnp/">
<item id="1" parentID="0" restricted="1"><dc:title>large</dc:title><upnp:class>object.item.imageItem.photo</upnp:class>
<res size="${SIZE}" protocolInfo="http-get:*:image/jpeg:*">${url}</res></item></DIDL-Lite>`;

const response = (action, text) => `<?xml version="1.0"?>
<s:Envelope xmlns:s="http://schemas.xmlsoap.org/soap/envelope/"><s:Body>
<u:${action}Response xmlns:u="${SERVICE}">${text}</u:${action}Response></s:Body></s:Envelope>`;

const actions = {
  GetSearchCapabilities: () => '<SearchCaps></SearchCaps>',
  Browse: (body, host) => {
    const isThere = /<StartingIndex>0</.test(body) ? 1 : 0;
    const found = isThere ? didl(`http://${host}/large.jpg`) : '';
    return `<Result>${escaped(found)}</Result><NumberReturned>${isThere}</NumberReturned>` +
           '<TotalMatches>1</TotalMatches><UpdateID>1</UpdateID>';
  },
};

function sendHalf(to) {
  to.writeHead(200, { 'Content-Type': 'image/jpeg', 'Content-Length': SIZE });
  to.write(Buffer.alloc(SIZE / 2), () => console.log('held'));
}

const server = http.createServer((request, to) => {
  if (request.url === '/large.jpg') {
    sendHalf(to);
    return;
  }
  let body = '';
  request.setEncoding('utf8').on('data', (text) => { body += text; }).on('end', () => {
    const action = /#(\w+)/.exec(request.headers.soapaction ?? '')?.[1];
    const text = request.url === '/description.xml' ? description
      : actions[action] && response(action, actions[action](body, request.headers.host));
    to.writeHead(text ? 200 : 500, { 'Content-Type': 'text/xml; charset="utf-8"' });
    to.end(text ?? '');
  });
});

server.listen(0, '127.0.0.1', () => {
  const notice = ['NOTIFY * HTTP/1.1', 'HOST: 239.255.255.250:1900', 'CACHE-CONTROL: max-age=1800',
                  `LOCATION: http://127.0.0.1:${server.address().port}/description.xml`, `NT: ${DEVICE}`,
                  'NTS: ssdp:alive', 'SERVER: none', `USN: ${ID}::${DEVICE}`, '', ''].join('\r\n');
  const socket = dgram.createSocket('udp4');
  socket.bind(0, '127.0.0.1', () => {
    socket.setMulticastInterface('127.0.0.1');
    socket.send(notice, 1900, '239.255.255.250', () => socket.close());
  });
});
