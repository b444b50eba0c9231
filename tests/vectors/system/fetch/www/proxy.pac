function FindProxyForURL(url, host) { return host == "localhost" ? "PROXY 127.0.0.1:{closed};PROXY 127.0.0.1:{squid}" : "DIRECT"; }
