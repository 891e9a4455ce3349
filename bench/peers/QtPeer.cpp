// Qt's WebSocket on the thread of its loop. Nothing is parsed.

#include "bench/peers/support/Meter.h"
#include "bench/peers/support/Order.h"
#include "bench/peers/support/Texts.h"

#include <QAbstractSocket>
#include <QCoreApplication>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QWebSocket>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
  const peers::Order order = peers::readOrder(argc, argv);
  const QCoreApplication application(argc, argv);
  const QString request = QString::fromStdString(peers::readyRequest());
  peers::Meter meter(order);
  QWebSocket socket;
  QObject::connect(&socket, &QWebSocket::connected, [&] {
    meter.start();
    while (meter.mayAsk()) socket.sendTextMessage(request);
  });
  QObject::connect(&socket, &QWebSocket::textMessageReceived, [&](const QString& reply) {
    // Its size in bytes would cost something to learn; it has two letters of three bytes each.
    meter.answered(static_cast<std::size_t>(reply.size()) + 4);
    if (meter.mayAsk()) socket.sendTextMessage(request);
    if (meter.isOver()) QCoreApplication::quit();
  });
  QObject::connect(&socket, &QWebSocket::disconnected, [] {
    std::fputs("the connection is lost\n", stderr);
    std::exit(EXIT_FAILURE);
  });
  socket.open(QUrl(QString("ws://%1:%2").arg(QString::fromStdString(order.host)).arg(order.port)));
  QCoreApplication::exec();
  meter.print();
  std::fflush(stdout);
  std::_Exit(EXIT_SUCCESS);
}
